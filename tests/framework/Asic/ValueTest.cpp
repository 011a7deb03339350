// The small values of the framework: layouts and prints against literals, needed versions, paths.
#include <gtest/gtest.h>

#include "Asic/Constants.h"
#include "Asic/EntryFlags.h"
#include "Asic/EntryState.h"
#include "Asic/EntryVersion.h"
#include "Asic/GroupShoal.h"
#include "Asic/NeededEntry.h"
#include "FakeTable.h"

namespace {

using namespace AsicTest;
using Asic::Constants;
using Asic::LogVersion;
using Asic::NeededEntry;
using Asic::SwTableId;
using Asic::TableVersion;

TEST(Value, TableIdHoldsAgentGroupAndTable) {
  constexpr SwTableId id(0x14080403);
  EXPECT_EQ(id.agentId(), 0x14);
  EXPECT_EQ(id.groupId(), 0x08);
  EXPECT_EQ(id.tblId(), 0x0403);
  EXPECT_EQ(id.agentAndGroupId(), 0x1408);
  EXPECT_EQ(fmt::format("{}", id), "14:08:0403");
  EXPECT_EQ(fmt::format("{}", SwTableId(0x1, 0xA, 0xB)), "01:0a:000b");
}

TEST(Value, FlagBitsAndStates) {
  EXPECT_FALSE(Asic::EntryVersion().valid());
  EXPECT_TRUE(Asic::EntryVersion(Asic::MajorVersion(0), 0).valid());
  EXPECT_TRUE(Asic::EntryFlags(1).isEntryDelete());
  EXPECT_TRUE(Asic::EntryFlags(2).isTableDelete());
  EXPECT_TRUE(Asic::EntryFlags(4).suppressIdenticalWrites());
  EXPECT_FALSE(Asic::EntryFlags(3).suppressIdenticalWrites());
  using Base = Asic::SwTableBase;
  EXPECT_EQ((std::vector<int>{int(Base::entryStateUnresolved), int(Base::entryStateInLog),
                              int(Base::entryStateRejected), int(Base::entryStateDone),
                              int(Base::entryStateFailed), int(Base::entryStateResolveFailed)}),
            (std::vector<int>{0, 1, 3, 4, 5, 6}));
  EXPECT_EQ(fmt::format("{}", Base::entryStateDone), "entryStateDone");
}

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
  EXPECT_TRUE(std::is_sorted(needed->begin(), needed->end()));
  EXPECT_EQ(fmt::format("{}", Pivot::Ptr<NeededEntry const>()), "{}");
}

TEST(Value, ConfigPathsGiveTheirUnitBack) {
  Pivot::String const group = Constants::canonicalizeGroupName("LoamTunnelNi", "LoamInLifGroup");
  Pivot::String const base = Constants::canonicalGroupTableConfigShoalPathBase(group, "LoamInLif", "InLif1");
  for (Asic::UnitId const unit : std::initializer_list<Asic::UnitId>{0, 1, 10, 65535}) {
    Pivot::String const path =
        Constants::canonicalGroupTableConfigShoalPath(group, "LoamInLif", "InLif1", unit);
    EXPECT_TRUE(path.starts_with(base + "/")) << path;
    EXPECT_EQ(Constants::getUnitIdFromConfigPath(path), unit);
  }
  // Nothing of another table lies below the base of this one.
  EXPECT_FALSE(Constants::canonicalGroupTableLogShoalPath(group, "LoamInLif", "InLif1").starts_with(base));
  EXPECT_EQ(Constants::relaunchPath("LoamTunnelNi"), "hardware/spindle/agent/relaunch/config/LoamTunnelNi");
}

TEST(ValueDeathTest, APathWithoutAUnitEndsTheProcess) {
  EXPECT_DEATH(Constants::getUnitIdFromConfigPath("asic/x/config/LoamInLif/InLif1"),
               "ends in its unit: path asic/x");
  EXPECT_DEATH(Constants::getUnitIdFromConfigPath("asic/x/config/LoamInLif/InLif1/65536"),
               "ends in its unit");
}

TEST(Value, SharedRowsAreWhatTheOtherProcessReads) {
  Asic::NeededRow row{{kTableA, LogVersion(0x665544332211)}, {}};
  row.needs[1] = TableVersion(kTableB, LogVersion(9));
  std::array<std::uint8_t, 104> bytes;
  std::memcpy(bytes.data(), &row, sizeof(row));
  std::array<std::uint8_t, 104> expected{0x11, 0x22, 0x33, 0x44, 0x55, 0x66};  // the version, little-endian
  std::copy_n("\x01\x04", 2, expected.begin() + 6);                            // the table
  std::copy_n("\x02\x04\x08\x14", 4, expected.begin() + 24);                   // the second need: its table
  expected[32] = 9;                                                            // and its version
  EXPECT_EQ(bytes, expected);
}

TEST(Handle, PublishesAChangeOfStateOnly) {
  struct Watcher : Pivot::Subscriber {
    int changes = 0;
    Asic::EntryState old{};
  } watcher;
  watcher.dispatch = [](Pivot::Publisher*, Pivot::Subscriber* self, Pivot::FieldId field, void const*,
                        void const* old) {
    EXPECT_EQ(field, 130u);
    static_cast<Watcher*>(self)->old = *static_cast<Asic::EntryState const*>(old);
    ++static_cast<Watcher*>(self)->changes;
  };
  auto const handle = Pivot::make<FakeHandle>();
  handle->entryStateIs(Asic::EntryState::entryStateInLog);  // nobody listens yet
  Pivot::Publisher::subscriberAdd(handle->publisher(), &watcher, false);
  handle->entryStateIs(Asic::EntryState::entryStateInLog);
  EXPECT_EQ(watcher.changes, 0);
  handle->entryStateIs(Asic::EntryState::entryStateDone);
  EXPECT_EQ(watcher.changes, 1);
  EXPECT_EQ(watcher.old, Asic::EntryState::entryStateInLog);
  Pivot::Publisher::subscriberRemove(handle->publisher(), &watcher);

  handle->logVersionIs(LogVersion(4));
  EXPECT_EQ(handle->entryTableVersion(), TableVersion(kTableA, LogVersion(4)));
}

}  // namespace
