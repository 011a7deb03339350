// The table interface: made once, with what an earlier life left; tables found or built; units that nobody
// serves any more.
#include <gmock/gmock.h>

#include <fstream>

#include "FlashNote/Ring.h"
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {

using namespace TestSupport;
using namespace LoamInLif;
using testing::ElementsAre;

class InterfaceTest : public testing::Test {
 protected:
  Pivot::Ptr<InLif1Interface> intf() { return world.interface<InLif1>(); }
  Pivot::Ptr<InLif1SwTable> make(Asic::UnitId unit, bool reset = false) {
    return intf()->makeSwTable(unit, nullptr, reset);
  }
  void write(Asic::UnitId unit, unsigned key) {
    Entry entry;
    entry.logEntry.client[0] = std::byte{1};
    make(unit)->entryWrite(EntryKey(key), entry, nullptr);
    world.resolve();
  }
  std::uint64_t version() { return intf()->entryLog()->tableVersion().value(); }

  AgentWorld world;
};

TEST_F(InterfaceTest, ThereIsOneOfEachInstance) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a forked child owns no store
  auto first = intf();
  auto const other =
      Pivot::make<Asic::OrderedTableInterface>(Pivot::make<Statehub::EntityManager>("other", true));
  EXPECT_EQ(InLif1Interface::getIntf(other), first);
  EXPECT_TRUE(other->groups().empty()) << "the argument is not looked at";

  auto const zero = world.interface<InLif0>();
  EXPECT_EQ(world.orderedTables().groups().size(), 1u);
  EXPECT_EQ(world.group().swTableSet(InLif1::tableId), first->swTableSet());
  EXPECT_EQ(Asic::SwTableInterfacesSingleton::existing()->swTableIntf("LoamInLif::InLif0Interface"), zero);
  EXPECT_EQ(world.orderedTables().swTableIntf("LoamInLif::InLif1Interface"), first.get());
  EXPECT_DEATH(Pivot::make<InLif1Interface>(other),
               "!singleton->swTableIntfHas\\( \"LoamInLif::InLif1Interface\" \\): Interface already created");
  EXPECT_FALSE(first->swTableStatus()->pendingHwWrites()) << "nothing to clean at a first start";
  Asic::SwTableInterfacesSingleton::existing()->swTableIntfDel("LoamInLif::InLif1Interface");
  first.reset();
  EXPECT_EQ(world.orderedTables().swTableIntf("LoamInLif::InLif1Interface"), nullptr);
}

TEST_F(InterfaceTest, ObjectsMadeFromEqualArgumentsStay) {
  auto const interface = intf();
  auto const log = interface->entryLog();
  TraceCapture trace("InLif1EntryLog", 2);
  EXPECT_EQ(
      interface->entryLogIs(log->tableId(), log->entityManager(), log->groupInterface(), "LoamTunnelNi"),
      log);
  EXPECT_TRUE(trace.lines().empty()) << "not mounted again";
  EXPECT_EQ(interface->swTableStatusIs(InLif1::tableId), interface->swTableStatus());
  auto const set = interface->swTableSet();
  EXPECT_EQ(interface->swTableSetIs(InLif1::tableId, interface->swTableStatus()), set);
  auto const status = Pivot::make<Asic::OrderedSwTableStatus>(InLif1::tableId);
  EXPECT_NE(interface->swTableSetIs(InLif1::tableId, status), set);
  EXPECT_EQ(interface->swTableSet()->status(), status);
}

TEST_F(InterfaceTest, ATableIsBuiltOnceWithTenClients) {
  FlashNote::Ring ring(64);
  FlashNote::Ring::defaultRingIs(&ring);
  auto const interface = intf();
  TraceCapture trace("InLif1Interface", 2);
  auto const table = interface->makeSwTable(4, nullptr, false);
  std::vector<std::string> notes;
  for (auto const& note : ring.notes()) notes.push_back(note.text);
  EXPECT_EQ(notes.size(), Kinds::size + 1);
  EXPECT_EQ(notes, trace.texts()) << "the same that restart-steps.txt holds";
  EXPECT_EQ(table->name(), "OrderedSwTable.LoamInLifGroup.InLif1");
  EXPECT_EQ(table->status(), interface->swTableStatus());
  EXPECT_EQ(interface->swTableSet()->swTable(4), table);
  EXPECT_NE(table->linkage<InLifDataKind>()->resTblClient(),
            table->linkage<InLifDataVlanKind>()->resTblClient());
}

TEST_F(InterfaceTest, AnExistingTableIsAdjusted) {
  write(1, 1);
  auto const table = make(1);
  auto const helper = InLif1SwTableHelperBase::InLif1SwTableHelperBaseIs();
  auto const before = table->swTableHelper();
  TraceCapture trace("InLif1Interface", 3);
  EXPECT_EQ(make(1), table);
  EXPECT_THAT(trace.texts(), ElementsAre("swTable with unitId: 1 exists"));
  EXPECT_EQ(table->swTableHelper(), before);
  EXPECT_EQ(intf()->makeSwTable(1, helper, false), table);
  EXPECT_TRUE(trace.has("Update software table helper"));
  EXPECT_EQ(table->swTableHelper(), helper);
  EXPECT_EQ(table->entrys(), 1u);
  trace.clear();
  make(1, true);
  EXPECT_TRUE(trace.has(" Clearing entries for table id: 14:08:0402"));
  EXPECT_EQ(table->entrys(), 0u);
  EXPECT_EQ(table->swTableHelper(), helper);
  EXPECT_FALSE(table->inMarkingState());
}

TEST_F(InterfaceTest, BrokenPreconditionsStopTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a forked child owns no store
  intf();
  EXPECT_DEATH(
      {
        Asic::SwTableInterfacesSingleton::existing()->swTableIntfDelAll();
        auto const bare = Pivot::make<Asic::OrderedTableInterface>(world.orderedTables().entityManager());
        InLif1Interface::getIntf(bare)->makeSwTable(1, nullptr, false);
      },
      "Assertion failed: resTbl: no resource table .*InLifData");
  EXPECT_DEATH(make(65535), "Assertion failed: unitId <= Asic::kMostUnit: unit 65535, expected 0 to 65534");
  EXPECT_DEATH(
      {
        intf()->groupNameIs("Other");
        make(1);
      },
      "Assertion failed: groupIntf");
}

TEST_F(InterfaceTest, UnitsThatNobodyServesAreCleared) {
  write(1, 1);
  write(2, 1);
  make(3);  // a configuration without records
  for (char const* stray : {"/notes.shoal", "/007.shoal", "/65535.shoal"})
    std::ofstream(world.directory() + "/" + InLif1Constants::configShoalPathBase() + stray) << "no unit's";
  std::uint64_t const before = version();
  world.restart();
  world.orderedTables().suppressInitialMarkIs(false);
  make(1);
  {
    TraceCapture trace("InLif1Interface", 3);
    intf()->reconcile();
    EXPECT_EQ(trace.texts("InLif1Interface", 3),
              (std::vector<std::string>{" No. of config entities found: 6, in shoal path: " +
                                            InLif1Constants::configShoalPathBase(),
                                        " Found inactive unit id: 2 ", " Found inactive unit id: 3 "}));
    EXPECT_TRUE(trace.has(" Clearing entries for table: InLif1, unitId: 2"));
  }
  EXPECT_EQ(version(), before + 1) << "one table delete, of the unit that had records";
  EXPECT_EQ(make(1)->entrys(), 1u);
  EXPECT_EQ(make(2)->entrys(), 0u);
  EXPECT_FALSE(make(2)->inMarkingState());
  world.acknowledge(InLif1::tableId, Asic::LogVersion(version()));
  EXPECT_EQ(intf()->entryLog()->tableConfigShoal(2)->swTableEntries().size(), 0u);
  intf()->reconcile();
  EXPECT_EQ(version(), before + 1);
  make(2)->mark();
  world.group().sweepTables();
  EXPECT_FALSE(make(2)->inMarkingState()) << "it did not mark when it was made, and is swept all the same";
}

}  // namespace
