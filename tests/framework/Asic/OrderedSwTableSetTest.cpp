// When the status of an instance turns, and what it costs to keep it.
#include "Asic/OrderedSwTableSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "FakeTable.h"
#include "support/Listener.h"

namespace {

using namespace AsicTest;

class OrderedSwTableSetTest : public testing::Test {
 protected:
  OrderedSwTableSetTest() {
    for (Asic::UnitId unit = 0; unit < 16; ++unit) {
      tables.push_back(Pivot::make<FakeTable>(unit));
      set->swTableIs(tables.back());
    }
    watcher.react = [this](void const* old) {
      EXPECT_EQ(watcher.said(), std::vector<std::string>{"131 old"});
      values.push_back(!*static_cast<bool const*>(old));
    };
  }

  int asked() const {
    int sum = 0;
    for (auto const& table : tables) sum += table->asked;
    return sum;
  }

  Pivot::Ptr<Asic::OrderedSwTableStatus> status = Pivot::make<Asic::OrderedSwTableStatus>(kTableA);
  Pivot::Ptr<Asic::OrderedSwTableSet> set = Pivot::make<Asic::OrderedSwTableSet>(kTableA, status);
  std::vector<Pivot::Ptr<FakeTable>> tables;
  TestSupport::Listener watcher{status->publisher()};
  std::vector<bool> values;  // that it took
};

TEST_F(OrderedSwTableSetTest, AsksTheChangedTableAloneOrOneThatIsPending) {
  for (int i = 0; i < 1000; ++i) set->maybeUpdatePendingHwWrites(tables[7].get());
  EXPECT_EQ(asked(), 1000);
  tables[15]->pending = true;
  set->maybeUpdatePendingHwWrites();
  int const before = asked();
  for (int i = 0; i < 1000; ++i) set->maybeUpdatePendingHwWrites();
  EXPECT_EQ(asked() - before, 1000);
}

// As one that is restored before it enters, or was taken out.
TEST_F(OrderedSwTableSetTest, RemembersNoTableThatIsNotItsOwn) {
  auto stranger = Pivot::make<FakeTable>(Asic::UnitId{3});
  stranger->pending = true;
  set->maybeUpdatePendingHwWrites(stranger.get());
  EXPECT_FALSE(status->pendingHwWrites());
  stranger.reset();
  set->maybeUpdatePendingHwWrites();
}

// Tables that begin, finish, and are replaced at random.
TEST_F(OrderedSwTableSetTest, TurnsWithTheFirstAndTheLastThatIsPending) {
  std::mt19937 random(8);
  std::vector<bool> expected;
  for (int step = 0; step < 5000; ++step) {
    auto const unit = static_cast<Asic::UnitId>(random() % 16);
    if (random() % 10 == 0) {
      auto const old = std::exchange(tables[unit], Pivot::make<FakeTable>(unit));
      set->swTableIs(tables[unit]);
      ASSERT_EQ(old->useCount(), 1u);
      set->maybeUpdatePendingHwWrites();
    } else {
      tables[unit]->pending = random() % 8 == 0;
      set->maybeUpdatePendingHwWrites(tables[unit].get());
    }
    bool const pending =
        std::any_of(tables.begin(), tables.end(), [](auto const& table) { return table->pending; });
    ASSERT_EQ(status->pendingHwWrites(), pending);
    if (pending != (!expected.empty() && expected.back())) expected.push_back(pending);
    ASSERT_EQ(values, expected) << "told once for each turn";
  }
  EXPECT_GT(expected.size(), 100u);
}

}  // namespace
