// The small values of the framework: needed versions, names, paths, and when a handle publishes.
#include <gtest/gtest.h>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "Asic/NeededEntry.h"
#include "FakeTable.h"
#include "Vex/Text.h"
#include "support/Listener.h"

namespace {

using namespace AsicTest;
using Asic::Constants;
using Asic::LogVersion;
using Asic::NeededEntry;
using Asic::SwTableId;
using Asic::TableVersion;

TEST(Value, NeededKeepsTheHigherVersionOfATable) {
  auto const needed = Pivot::make<NeededEntry>();
  needed->add({kTableB, LogVersion(3)});
  needed->add({kTableA, LogVersion(7)});
  needed->add({kTableB, LogVersion(2)});
  needed->add({SwTableId(0x14080403), LogVersion(0)});
  EXPECT_EQ(fmt::format("{}", *needed), "{14:08:0401@7, 14:08:0402@3}");
  auto const other = Pivot::make<NeededEntry>();
  for (std::uint16_t table = 9; table > 1; --table)
    other->add({SwTableId(0x14, 8, table), LogVersion(table)});
  other->add({kTableB, LogVersion(5)});
  needed->merge(*other);
  needed->merge(Pivot::Ptr<NeededEntry const>());
  EXPECT_EQ(needed->size(), 10u);
  EXPECT_EQ(needed->version(kTableB), LogVersion(5));
  EXPECT_EQ(needed->version(SwTableId(0x14080001)), LogVersion(0));
  EXPECT_TRUE(std::ranges::is_sorted(needed->versions()));
}

TEST(ValueDeathTest, APathWithoutAUnitEndsTheProcess) {
  EXPECT_DEATH(Constants::getUnitIdFromConfigPath("asic/x/config/LoamInLif/InLif1"),
               "ends in its unit: path asic/x");
  EXPECT_DEATH(Constants::getUnitIdFromConfigPath("asic/x/config/LoamInLif/InLif1/65536"),
               "ends in its unit");
}

TEST(Value, ANameOfATableIsComposedByType) {
  auto const nameOf = [](int type, char const* group, char const* space, char const* table) {
    return Pivot::make<Asic::CanonicalTableName>(static_cast<Asic::OrderedTableType>(type), group, space,
                                                 table)
        ->name();
  };
  EXPECT_EQ(nameOf(0, "Group", "Space", "InLif1"), "OrderedSwTable.Group.InLif1");
  EXPECT_EQ(nameOf(1, "Group", "Space", "InLif1"), "PartiallyOrderedSwTable.InLif1");
  EXPECT_EQ(nameOf(2, "", "LoamQos", "Qos.In"), "ResourceTable.LoamQos::Qos.In");
  EXPECT_DEATH(nameOf(3, "", "", ""), "Table type undefined!");
}

TEST(Value, KeysOfNeededRowsHoldTheTableAboveTheVersion) {
  EXPECT_EQ(Asic::NeededKey(kTableA, LogVersion(0x665544332211)).value(), 0x0401665544332211u);
}

TEST(Handle, PublishesAChangeOfStateOnly) {
  auto const handle = Pivot::make<FakeHandle>(LogVersion(4));
  handle->entryStateIs(Asic::EntryState::entryStateInLog);  // nobody listens yet
  TestSupport::Listener watcher(handle->publisher());
  std::vector<Asic::EntryState> left;
  watcher.react = [&](void const* old) { left.push_back(*static_cast<Asic::EntryState const*>(old)); };
  handle->entryStateIs(Asic::EntryState::entryStateInLog);
  handle->entryStateIs(Asic::EntryState::entryStateDone);
  EXPECT_EQ(left, std::vector{Asic::EntryState::entryStateInLog});
  EXPECT_EQ(watcher.said(), std::vector<std::string>{"130 old"});
  EXPECT_EQ(handle->entryTableVersion(), TableVersion(kTableA, LogVersion(4)));
}

}  // namespace
