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

class StatehubTest : public testing::Test {
 protected:
  StatehubTest() {
    Statehub::typeRegister("Counter",
                           [](Pivot::Ptr<Statehub::PersistedValue> const& value) -> Pivot::Ptr<Pivot::Node> {
                             return Pivot::make<Counter>(value);
                           });
  }
  static Pivot::Ptr<Statehub::EntityManager> manager(char const* name) {
    return Pivot::make<Statehub::EntityManager>(name, true);
  }
  TestSupport::TraceCapture traces_;
  TestSupport::TempStore store_;
};

TEST_F(StatehubTest, EntitiesOutliveTheProcess) {
  {
    auto const hub = manager("sys");
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
  store_.reopen();
  auto const hub = manager("sys");
  auto const found = counter(hub->getEntity("a/b"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->value().value(), 0x123456789ABCu);
  EXPECT_EQ(hub->getEntity("plain"), nullptr);
  EXPECT_EQ(hub->getEntity("a/c"), nullptr);
}

// One process has one store and one entity of a path, whatever handles it asks by; what an earlier release left
// behind is kept no more.
TEST_F(StatehubTest, AllManagersOfAProcessShareOneStore) {
  auto const one = manager("one");
  auto const two = manager("two");
  auto const made = counter(one->entityIs("a", "Counter"));
  ASSERT_NE(made, nullptr);
  made->value().valueIs(5);
  counter(two->entityIs("b", "Counter"))->value().valueIs(6);
  EXPECT_EQ(two->getEntity("a"), made);
  store_.reopen();
  made->value().valueIs(7);
  auto const later = manager("one");
  ASSERT_NE(later->getEntity("a"), nullptr);
  EXPECT_EQ(counter(later->getEntity("a"))->value().value(), 5u);
  EXPECT_EQ(counter(two->getEntity("b"))->value().value(), 6u);
}

}  // namespace
