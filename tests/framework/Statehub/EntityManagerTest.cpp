// Entities that outlive the process.
#include "Statehub/EntityManager.h"

#include <gtest/gtest.h>

#include "support/TempStore.h"
#include "support/TraceCapture.h"

namespace {

class Counter : public Pivot::Node {
 public:
  explicit Counter(Pivot::Ptr<Statehub::PersistedValue> value) : value_(std::move(value)) {}
  Statehub::PersistedValue& value() { return *value_; }

 private:
  Pivot::Ptr<Statehub::PersistedValue> value_;
};

Pivot::Ptr<Counter> counter(Pivot::Ptr<Pivot::Node> const& node) {
  return boost::dynamic_pointer_cast<Counter>(node);
}

TEST(Statehub, EntitiesOutliveTheProcess) {
  TestSupport::TraceCapture traces;
  TestSupport::TempStore store;
  Statehub::typeRegister("Counter",
                         [](Pivot::Ptr<Statehub::PersistedValue> const& value) -> Pivot::Ptr<Pivot::Node> {
                           return Pivot::make<Counter>(value);
                         });
  {
    auto const hub = Pivot::make<Statehub::EntityManager>("sys", true);
    EXPECT_EQ(hub->getEntity("a/b"), nullptr);
    auto const made = counter(hub->entityIs("a/b", "Counter"));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->value().value(), 0u);
    made->value().valueIs(0x123456789ABC);
    EXPECT_EQ(hub->entityIs("a/b", "Counter"), made);
    EXPECT_EQ(hub->getEntity("a/b"), made);
    EXPECT_EQ(hub->entityIs("a/c", "Unknown"), nullptr);
    EXPECT_EQ(hub->entityIs(std::string(240, 'x'), "Counter"), nullptr);
    hub->entityIs("plain", Pivot::Ptr<Pivot::Node>(made));
    EXPECT_EQ(hub->getEntity("plain"), made);
  }
  store.reopen();
  auto const hub = Pivot::make<Statehub::EntityManager>("sys", true);
  auto const found = counter(hub->getEntity("a/b"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->value().value(), 0x123456789ABCu);
  EXPECT_EQ(hub->getEntity("plain"), nullptr);
  EXPECT_EQ(hub->getEntity("a/c"), nullptr);
}

}  // namespace
