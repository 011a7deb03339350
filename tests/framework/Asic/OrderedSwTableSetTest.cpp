// When the status of an instance turns, and what it costs to keep it.
#include "Asic/OrderedSwTableSet.h"

#include <gtest/gtest.h>

#include "FakeTable.h"

namespace {

using namespace AsicTest;

struct StatusWatcher : Pivot::Subscriber {
  std::vector<bool> values;
};

class OrderedSwTableSetTest : public testing::Test {
 protected:
  OrderedSwTableSetTest() {
    for (Asic::UnitId unit = 0; unit < 16; ++unit) {
      tables.push_back(Pivot::make<FakeTable>(unit));
      set->swTableIs(tables.back());
    }
    watcher.dispatch = [](Pivot::Publisher*, Pivot::Subscriber* self, Pivot::FieldId field, void const*,
                          void const* old) {
      EXPECT_EQ(field, 131u);
      static_cast<StatusWatcher*>(self)->values.push_back(!*static_cast<bool const*>(old));
    };
    Pivot::Publisher::subscriberAdd(status->publisher(), &watcher, false);
  }
  ~OrderedSwTableSetTest() override { Pivot::Publisher::subscriberRemove(status->publisher(), &watcher); }

  int asked() const {
    int sum = 0;
    for (auto const& table : tables) sum += table->asked;
    return sum;
  }

  Pivot::Ptr<Asic::OrderedSwTableStatus> status = Pivot::make<Asic::OrderedSwTableStatus>(kTableA);
  Pivot::Ptr<Asic::OrderedSwTableSet> set = Pivot::make<Asic::OrderedSwTableSet>(kTableA, status);
  std::vector<Pivot::Ptr<FakeTable>> tables;
  StatusWatcher watcher;
};

TEST_F(OrderedSwTableSetTest, TurnsOnceForAnyTableAndBackWhenAllAreDone) {
  set->maybeUpdatePendingHwWrites();
  EXPECT_TRUE(watcher.values.empty());
  tables[9]->pending = tables[3]->pending = true;
  set->maybeUpdatePendingHwWrites();
  set->maybeUpdatePendingHwWrites();
  tables[3]->pending = false;
  set->maybeUpdatePendingHwWrites();
  EXPECT_TRUE(status->pendingHwWrites());
  tables[9]->pending = false;
  set->maybeUpdatePendingHwWrites();
  EXPECT_EQ(watcher.values, (std::vector<bool>{true, false}));
}

TEST_F(OrderedSwTableSetTest, AsksOneTableWhileItIsPending) {
  tables[15]->pending = true;
  set->maybeUpdatePendingHwWrites();
  int const before = asked();
  for (int i = 0; i < 1000; ++i) set->maybeUpdatePendingHwWrites();
  EXPECT_EQ(asked() - before, 1000);
}

TEST_F(OrderedSwTableSetTest, AsksTheChangedTableAloneWhileNothingIsPending) {
  for (int i = 0; i < 1000; ++i) set->maybeUpdatePendingHwWrites(tables[7].get());
  EXPECT_EQ(asked(), 1000);
  tables[7]->pending = true;
  set->maybeUpdatePendingHwWrites(tables[7].get());
  EXPECT_TRUE(status->pendingHwWrites());
  // It has finished, but another one has not.
  tables[7]->pending = false;
  tables[2]->pending = true;
  set->maybeUpdatePendingHwWrites(tables[7].get());
  EXPECT_TRUE(status->pendingHwWrites());
}

TEST_F(OrderedSwTableSetTest, ATableThatLeavesIsNotAskedAgain) {
  tables[4]->pending = true;
  set->maybeUpdatePendingHwWrites();
  set->swTableIs(Pivot::make<FakeTable>(Asic::UnitId{4}));
  set->maybeUpdatePendingHwWrites();
  EXPECT_FALSE(status->pendingHwWrites());
  EXPECT_EQ(set->swTables(), 16u);
  EXPECT_EQ(tables[4]->useCount(), 1u);
  EXPECT_EQ(set->swTableDel(4)->unitId(), 4);
  EXPECT_EQ(set->swTable(4), nullptr);
}

TEST_F(OrderedSwTableSetTest, AWalkMayEnterTables) {
  std::vector<Asic::UnitId> seen;
  set->forEachTable([&](auto const& table) {
    seen.push_back(table->unitId());
    if (table->unitId() == 15) set->swTableIs(Pivot::make<FakeTable>(Asic::UnitId{100}));
  });
  EXPECT_EQ(seen.size(), 17u);
  EXPECT_EQ(seen.back(), 100);
}

}  // namespace
