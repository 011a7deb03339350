// The group between two processes: what the writer of the hardware finds announced, what its reports do to
// the tables, and what another life finds again. The writer is played by the test, through its own
// collections.
#include "Asic/GroupInterface.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "Asic/Constants.h"
#include "Asic/OrderedTableInterface.h"
#include "FakeTable.h"
#include "Pivot/Exceptions.h"
#include "Shoal/BootId.h"
#include "Shoal/ShoalMap.h"
#include "Shoal/ShoalReader.h"
#include "Statehub/EntityManager.h"
#include "support/OutOfDescriptors.h"
#include "support/TempStore.h"
#include "support/TraceCapture.h"

namespace {

using namespace AsicTest;
using Asic::AnnouncedRow;
using Asic::Constants;
using Asic::LogVersion;
using Asic::NeededKey;
using Asic::NeededRow;
using Asic::TableVersion;
using VexSharedMem::StoreRoot;

constexpr Asic::SwTableId kTableC{0x14080403};
constexpr char const* kGroup = "Agent.Group";

Pivot::Ptr<Asic::NeededEntry const> needs(std::initializer_list<TableVersion> versions) {
  auto needed = Pivot::make<Asic::NeededEntry>();
  for (TableVersion const& version : versions) needed->add(version);
  return needed;
}

class GroupInterfaceTest : public testing::Test {
 protected:
  GroupInterfaceTest() { start(); }
  ~GroupInterfaceTest() override { stop(); }

  void start() {
    store.claim();
    orderedTables =
        Pivot::make<Asic::OrderedTableInterface>(Pivot::make<Statehub::EntityManager>("test", true));
    orderedTables->makeGroupIntf("Agent", "Group", 0x1408);
    group = orderedTables->group(kGroup);
  }
  void stop() {
    reports.reset();
    group.reset();
    orderedTables->takeDown();
    orderedTables.reset();
    StoreRoot::release();
  }

  // A set with a table for each unit below units.
  std::vector<Pivot::Ptr<FakeTable>> makeSet(Asic::SwTableId tableId, Asic::UnitId units) {
    auto const set =
        Pivot::make<Asic::OrderedSwTableSet>(tableId, Pivot::make<Asic::OrderedSwTableStatus>(tableId));
    std::vector<Pivot::Ptr<FakeTable>> tables;
    for (Asic::UnitId unit = 0; unit < units; ++unit) {
      tables.push_back(Pivot::make<FakeTable>(unit, tableId));
      set->swTableIs(tables.back());
    }
    group->swTableSetIs(set);
    return tables;
  }

  // The writer of the hardware reports.
  void report(Asic::SwTableId tableId, std::uint64_t version) {
    if (reports == nullptr) {
      store.claim(StoreRoot::Role::writer);
      reports = std::make_unique<Shoal::ShoalMap<TableVersion>>();
      TestSupport::mustBeOk(reports->mount({Constants::canonicalGroupTableVersionShoalPath(kGroup),
                                            Asic::kMaxTablesOfGroup, 0, StoreRoot::Role::writer}));
    }
    TestSupport::mustBeOk(reports->reserve(1));
    reports->set(TableVersion(tableId, LogVersion(version)));
  }
  // The writer looks; 0 and no needs when there is no row.
  std::uint64_t announcedInStore(Asic::SwTableId tableId) {
    auto const opened =
        Shoal::ShoalReader<AnnouncedRow>::open(Constants::canonicalGroupAnnouncedShoalPath(kGroup));
    AnnouncedRow row;
    bool const found = opened.reader->lookup(tableId, row) == Shoal::ReadResult::found;
    return found ? row.version.value() : 0;
  }
  std::vector<TableVersion> neededInStore(Asic::SwTableId tableId, std::uint64_t version) {
    auto const opened = Shoal::ShoalReader<NeededRow>::open(Constants::canonicalGroupNeededShoalPath(kGroup));
    NeededRow row;
    std::vector<TableVersion> found;
    if (opened.reader->lookup(NeededKey{tableId, LogVersion(version)}, row) != Shoal::ReadResult::found)
      return found;
    for (TableVersion const& need : row.needs) {
      if (need.logVersion() != LogVersion()) found.push_back(need);
    }
    return found;
  }

  TestSupport::TempStore store;
  Pivot::Ptr<Asic::OrderedTableInterface> orderedTables;
  Pivot::Ptr<Asic::GroupInterface> group;
  std::unique_ptr<Shoal::ShoalMap<TableVersion>> reports;
  TestSupport::TraceCapture failures{"*", 1};
};

using Told = std::vector<std::uint64_t>;

TEST_F(GroupInterfaceTest, NeedsPointBackwardsAndWhatCanNeverComeTrueIsDropped) {
  group->announce(kTableB, LogVersion(5));
  group->addLogEntry(kTableA, LogVersion(1), needs({{kTableB, LogVersion(3)}}));
  group->addLogEntry(kTableA, LogVersion(2), needs({{kTableB, LogVersion(9)}}));
  group->addLogEntry(kTableA, LogVersion(3), needs({{kTableC, LogVersion(1)}, {kTableA, LogVersion(1)}}));
  group->addLogEntry(kTableA, LogVersion(4), nullptr);
  EXPECT_EQ(neededInStore(kTableA, 1), (std::vector{TableVersion(kTableB, LogVersion(3))}));
  EXPECT_EQ(neededInStore(kTableA, 2), (std::vector{TableVersion(kTableB, LogVersion(5))})) << "lowered";
  EXPECT_TRUE(neededInStore(kTableA, 3).empty()) << "nothing announced, and its own table";
  EXPECT_EQ(announcedInStore(kTableA), 4u);
  EXPECT_TRUE(failures.lines().empty());
  group->addLogEntry(kTableA, LogVersion(5), needs({{Asic::SwTableId(0x15080401), LogVersion(2)}}));
  EXPECT_TRUE(neededInStore(kTableA, 5).empty());
  EXPECT_EQ(failures.countContaining("dropped the need 15:08:0401@2 of a table outside the group"), 1u);

  group->announcement().logEntryDel(kTableA, LogVersion(1));
  EXPECT_TRUE(neededInStore(kTableA, 1).empty());
  EXPECT_FALSE(neededInStore(kTableA, 2).empty());
}

TEST_F(GroupInterfaceTest, AnAnnouncedVersionNeverFallsAndOutlivesTheProcess) {
  group->announce(kTableB, LogVersion(0));
  EXPECT_TRUE(group->announcedVersion(kTableB) == LogVersion(0));
  group->announce(kTableA, LogVersion(7));
  group->announce(kTableA, LogVersion(6));
  EXPECT_EQ(announcedInStore(kTableA), 7u);
  stop();
  start();
  EXPECT_EQ(group->announcedVersion(kTableA), LogVersion(7));
  // A log that was opened at version 0 stands there too: the writer looks at announced tables only.
  group->addLogEntry(kTableA, LogVersion(8), needs({{kTableB, LogVersion(4)}}));
  EXPECT_TRUE(neededInStore(kTableA, 8).empty());
  auto const opened =
      Shoal::ShoalReader<AnnouncedRow>::open(Constants::canonicalGroupAnnouncedShoalPath(kGroup));
  EXPECT_EQ(opened.reader->size(), 2u);
}

TEST_F(GroupInterfaceTest, AReportReachesEveryTableOfItsSetOnce) {
  auto const a = makeSet(kTableA, 3);
  auto const b = makeSet(kTableB, 1);
  group->announce(kTableA, LogVersion(10));
  EXPECT_FALSE(group->turn());
  report(kTableA, 4);
  EXPECT_FALSE(group->turn());
  group->turn();
  for (auto const& table : a) EXPECT_EQ(table->told, (Told{4}));
  EXPECT_TRUE(b[0]->told.empty());
  report(kTableA, 3);  // a writer whose collection was damaged: the row does not fall
  group->turn();
  EXPECT_EQ(a[0]->told, (Told{4}));
  EXPECT_EQ(group->tableVersionMap().row(kTableA).logVersion(), LogVersion(4));
}

TEST_F(GroupInterfaceTest, ALongReportIsPassedOnInStepsThatNeverStayBelowWhatATableBeganWith) {
  auto const tables = makeSet(kTableA, 2);
  group->announce(kTableA, LogVersion(2'500));
  report(kTableA, 700);
  EXPECT_EQ(group->tableVersionMap().row(kTableA).logVersion(), LogVersion(700));
  report(kTableA, 2'500);
  while (group->turn()) {
  }
  EXPECT_EQ(tables[1]->told, (Told{700, 1'212, 1'724, 2'236, 2'500}));
}

TEST_F(GroupInterfaceTest, AVersionThatDoesNotExistIsPassedOnAsTheLastOne) {
  auto const tables = makeSet(kTableA, 1);
  group->announce(kTableA, LogVersion(5));
  report(kTableA, 8);
  EXPECT_FALSE(group->turn());
  EXPECT_EQ(group->tableVersionMap().row(kTableA).logVersion(), LogVersion(5));
  EXPECT_EQ(group->tableVersionMap().reportedVersion(kTableA), LogVersion(8));
  group->addLogEntry(kTableA, LogVersion(6), nullptr);
  EXPECT_FALSE(group->turn());
  EXPECT_EQ(tables[0]->told, (Told{5, 6}));
}

TEST_F(GroupInterfaceTest, ADamagedRowStaysAsItWasReadAndIsTold) {
  auto const told = [this](char const* what) {
    return failures.countContaining(fmt::format(
        "table: 14:08:0401: damage where its row in the table-version map should be, {}: ", what));
  };
  report(kTableA, 0x5A5A5A5A5A5A);
  reports.reset();
  std::string const file = store.fileOf(Constants::canonicalGroupTableVersionShoalPath(kGroup));
  TestSupport::flipBit(file, "ZZZZZZ");
  EXPECT_FALSE(group->tableVersionMap().has(kTableA));
  EXPECT_EQ(group->tableVersionMap().row(kTableA), TableVersion());
  EXPECT_NE(told("it counts as absent"), 0u);
  TestSupport::flipBit(file, "ZZZZZ", -1);  // back
  EXPECT_TRUE(group->tableVersionMap().has(kTableA));
  TestSupport::flipBit(file, "ZZZZZZ");
  EXPECT_TRUE(group->tableVersionMap().has(kTableA));
  EXPECT_NE(told(fmt::format("version {}, read before, stays", 0x5A5A5A5A5A5A).c_str()), 0u);
}

// What was reported before the kernel was started again tells which versions are used up, and nothing of a hardware that
// is cold now, until the writer has looked.
TEST_F(GroupInterfaceTest, AReportOfAnotherBootIsNone) {
  report(kTableA, 7);
  stop();
  Shoal::bootIdIs(3);
  start();
  EXPECT_FALSE(group->tableVersionMap().has(kTableA));
  EXPECT_EQ(group->tableVersionMap().reportedVersion(kTableA), LogVersion(7));
  report(kTableA, 9);
  reports->collectionControl().notePresentBoot();
  EXPECT_EQ(group->tableVersionMap().row(kTableA).logVersion(), LogVersion(9));
  Shoal::bootIdIs(0);
}

// An older copy that is put in the map's place counts its changes from further back: also the report is seen that brings
// the count to where it stood.
TEST_F(GroupInterfaceTest, AReportInAnOlderCopyIsSeenAtEachCount) {
  auto const tables = makeSet(kTableA, 1);
  std::filesystem::path const file = store.fileOf(Constants::canonicalGroupTableVersionShoalPath(kGroup));
  std::filesystem::path const older = file.string() + ".older";
  group->announce(kTableA, LogVersion(100));
  std::uint64_t version = 0;
  for (int round = 0; round < 8; ++round) {
    int const reportsSince = 1 + round / 2;
    report(kTableA, ++version);
    std::filesystem::copy_file(file, older);
    for (int i = 0; i < reportsSince; ++i) report(kTableA, ++version);
    group->turn();
    reports.reset();
    std::filesystem::rename(older, file);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // long enough to be looked for again
    if (round % 2 != 0) group->turn();
    report(kTableA, ++version);
    group->turn();
    EXPECT_EQ(tables[0]->told.back(), version) << reportsSince << " reports after the copy";
  }
}

// The writer cannot mend what it cannot read.
TEST_F(GroupInterfaceTest, WhatTheWriterComplainsOfIsMended) {
  std::string const file = store.fileOf(Constants::canonicalGroupTableVersionShoalPath(kGroup));
  report(kTableA, 1);
  std::filesystem::copy_file(file, file + ".older");
  for (int round = 0; round < 2; ++round) {
    group->announce(kTableB, LogVersion(0x424242424242));
    TestSupport::flipBit(store.fileOf(Constants::canonicalGroupAnnouncedShoalPath(kGroup)), "BBBBBB");
    if (round == 0) group->turn();
    EXPECT_THROW(announcedInStore(kTableB), Pivot::CorruptionDetectedException);
    reports->collectionControl().scratchpadIs(1);
    group->turn();
    EXPECT_EQ(announcedInStore(kTableB), 0x424242424242u);
    // In an older copy of the map the same count is another complaint.
    if (round == 1) break;
    reports.reset();
    std::filesystem::rename(file + ".older", file);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // long enough to be looked for again
    report(kTableA, 1);
  }
}

// A row that is damaged goes with the next change that meets damage, its table's or not: what the object knows is
// written again at once.
TEST_F(GroupInterfaceTest, AnnouncementsThatDamageTookStandAgain) {
  std::string const path = Constants::canonicalGroupAnnouncedShoalPath(kGroup);
  group->announce(kTableA, LogVersion(0x414141414141));
  group->announce(kTableB, LogVersion(0x424242424242));
  TestSupport::flipBit(store.fileOf(path), "AAAAAA", -8);  // the key, so that the chain is cut there
  TestSupport::flipBit(store.fileOf(path), "BBBBBB");
  group->announce(kTableA, LogVersion(0x414141414142));
  EXPECT_EQ(announcedInStore(kTableB), 0x424242424242u);
}

// Neither a map that cannot be opened nor one that cannot be looked for again is an empty one.
TEST_F(GroupInterfaceTest, WithoutDescriptorsNoReportIsForgotten) {
  auto const tables = makeSet(kTableA, 1);
  group->announce(kTableA, LogVersion(9));
  report(kTableA, 4);
  EXPECT_DEATH(
      {
        TestSupport::OutOfDescriptors const out;
        group->tableVersionMap().reportedVersion(kTableA);
      },
      "can be opened when a log is.*Too many open files");
  {
    TestSupport::OutOfDescriptors const out;
    EXPECT_FALSE(group->tableVersionMap().has(kTableA));
    group->turn();
    EXPECT_EQ(failures.countContaining("the table-version map cannot be opened now"), 1u);
  }
  group->turn();
  {
    TestSupport::OutOfDescriptors const out;
    report(kTableA, 7);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // long enough to be looked for again
    group->turn();
    EXPECT_EQ(tables[0]->told, (Told{4, 7}));
  }
}

TEST_F(GroupInterfaceTest, HandlersMayMakeTablesAndAThrowingOneEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a forked child owns no store
  auto const tables = makeSet(kTableA, 1);
  auto const late = Pivot::make<FakeTable>(Asic::UnitId{9}, kTableA);
  tables[0]->onStatus = [&] {
    EXPECT_FALSE(group->turn()) << "nested";
    group->swTableSet(kTableA)->swTableIs(late);
    makeSet(kTableB, 1);
  };
  group->announce(kTableA, LogVersion(1));
  report(kTableA, 1);
  group->turn();
  EXPECT_EQ(late->told, (Told{1}));
  EXPECT_TRUE(group->swTableSetHas(kTableB));

  tables[0]->onStatus = [] { throw std::runtime_error("handler gave up at 2"); };
  group->announce(kTableA, LogVersion(2));
  report(kTableA, 2);
  EXPECT_DEATH(group->turn(), "response handler: handler gave up at 2");
}

}  // namespace
