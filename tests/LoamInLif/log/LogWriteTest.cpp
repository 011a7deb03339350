// The entry log in one life: what the operations publish and what they leave alone, what reads answer, and
// what clean-up takes away.
#include <gtest/gtest.h>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/log/LogWorld.h"
#include "Shoal/EntityManager.h"
#include "support/TraceCapture.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif1;
using Key = InLifModelEntryKey;
using Values = std::map<unsigned, unsigned>;

class LogWrite : public testing::Test, protected LogWorld<InLif1, LoamInLif::InLif1EntryLog> {
 protected:
  void SetUp() override { begin(); }
};

TEST_F(LogWrite, VersionsCountThroughAllUnits) {
  mount(2);
  EXPECT_EQ(write(1, 10, 1), 1u);
  EXPECT_EQ(write(1, 20, 2), 2u);
  EXPECT_EQ(write(2, 11, 1), 3u);
  EXPECT_EQ(logMap().find(LogVersion(2))->unitId, 2);
  EXPECT_EQ(record(1, 2)->logVersion, LogVersion(2));
  EXPECT_EQ(scratchpad(), 3u);
  EXPECT_EQ(announced(), 3u);
}

TEST_F(LogWrite, IdenticalWritesAreDroppedOnlyWhenAsked) {
  TraceCapture trace("InLif1EntryLog", 3);
  EXPECT_EQ(write(1, 10, kUnit, true), 1u);
  EXPECT_EQ(stats->suppressedWriteCnt() + stats->suppressCheckDiffCnt(), 0u) << "a new key is not compared";

  EXPECT_EQ(write(1, 10, kUnit, true), 1u);
  EXPECT_EQ(stats->suppressedWriteCnt(), 1u);
  EXPECT_EQ(log->tableVersion(), LogVersion(1));
  EXPECT_EQ(scratchpad(), 1u);
  EXPECT_TRUE(trace.has("Suppressing identical write for key: 1"));
  EXPECT_EQ(log->entryLogVersion(Key(1), kUnit), LogVersion(1));

  EXPECT_EQ(write(1, 10), 2u) << "not asked for";

  keys.l2AdjId = LoamAdjLib::L2AdjToFecResourceTableEntryKey(7);
  EXPECT_EQ(write(1, 10, kUnit, true), 3u) << "another resource key is a difference";
  EXPECT_EQ(stats->suppressCheckDiffCnt(), 1u);
  EXPECT_TRUE(trace.has("Not Suppressing write because entry or resource key is different  for key: 1"));

  EXPECT_EQ(remove(1), 4u);
  EXPECT_EQ(write(1, 10, kUnit, true), 5u) << "a removed entry comes back";
  EXPECT_EQ(stats->suppressedWriteCnt(), 1u);
}

TEST_F(LogWrite, BytesOutsideTheComparisonDoNotMakeAWriteDiffer) {
  LoamTunnelNiLib::InLifModelLogEntry entry;
  entry.key = Key(1);
  entry.client[20] = std::byte{1};
  EXPECT_EQ(log->entryIs(entry, keys, nullptr, kUnit, stats, true), LogVersion(1));
  entry.client[20] = std::byte{2};
  EXPECT_EQ(log->entryIs(entry, keys, nullptr, kUnit, stats, true), LogVersion(1));
}

TEST_F(LogWrite, RemovalMarksTheRecordAndLogsWhatItHeld) {
  EXPECT_EQ(remove(1), 0u);
  EXPECT_EQ(log->tableVersion(), LogVersion(0));
  write(1, 10);
  EXPECT_EQ(remove(1), 2u);
  auto const* logRecord = logMap().find(LogVersion(2));
  EXPECT_EQ(logRecord->logFlags, 1);
  EXPECT_EQ(logRecord->logEntry.client[0], std::byte{10});
  EXPECT_EQ(record(1)->isDeleted, 1);
  EXPECT_EQ(record(1)->tableEntry.client[0], std::byte{10});
  EXPECT_EQ(remove(1), 3u) << "a marked record counts as found";
}

TEST_F(LogWrite, TableDeleteMarksWhatIsLiveUnderOneVersion) {
  write(1, 10);
  write(2, 20);
  write(3, 30);
  remove(3);
  EXPECT_EQ(clear(), 5u);
  EXPECT_EQ(record(1)->logVersion, LogVersion(5));
  EXPECT_EQ(record(2)->logVersion, LogVersion(5));
  EXPECT_EQ(record(3)->logVersion, LogVersion(4)) << "marked before";
  auto const* logRecord = logMap().find(LogVersion(5));
  EXPECT_EQ(logRecord->logFlags, 2);
  EXPECT_EQ(logRecord->unitId, kUnit);
  EXPECT_TRUE(logRecord->logEntry.isEq({}));
  EXPECT_EQ(clear(), 6u) << "published also when nothing is live";
}

TEST_F(LogWrite, ReadsOfAMarkedRecord) {
  keys.l2AdjId = LoamAdjLib::L2AdjToFecResourceTableEntryKey(7);
  write(1, 10);
  write(2, 20);
  remove(1);
  EXPECT_FALSE(log->entryHas(Key(1), kUnit));
  EXPECT_TRUE(log->entry(Key(1), kUnit).isEq({}));
  EXPECT_TRUE(log->entryRsrcKeys(Key(1), kUnit).isEq(keys));
  EXPECT_EQ(log->entryLogVersion(Key(1), kUnit), LogVersion(3));
  EXPECT_EQ(log->entrys(kUnit), 1u);
  EXPECT_EQ(log->entrysInDeletion(kUnit), 1u);

  clean(3);
  EXPECT_TRUE(log->entryRsrcKeys(Key(1), kUnit).isEq({}));
  EXPECT_EQ(log->entryLogVersion(Key(1), kUnit), LogVersion(0));
  EXPECT_EQ(log->entrysInDeletion(kUnit), 0u);
  EXPECT_EQ(log->entry(Key(2), kUnit).client[0], std::byte{20});
}

TEST_F(LogWrite, AUnitThatIsNotMountedStopsTheProcess) {
  EXPECT_DEATH(write(1, 10, 9),
               "tableConfigShoalHas\\( unitId \\): Config shoal for unitId:9 is not created yet!");
}

TEST_F(LogWrite, TheMapOfConfigurationsTakesAndGives) {
  auto const config = log->tableConfigShoal(kUnit);
  EXPECT_EQ(log->tableConfigShoal(2), nullptr);
  log->tableConfigShoalIs(2, config);
  EXPECT_TRUE(log->tableConfigShoalHas(2));
  log->tableConfigShoalIs(2, nullptr);
  EXPECT_FALSE(log->tableConfigShoalHas(2));
  EXPECT_EQ(log->tableConfigShoalDel(kUnit), config);
  EXPECT_EQ(log->tableConfigShoalDel(kUnit), nullptr);
}

// --- clean-up ---

TEST_F(LogWrite, CleanUpWalksFromTheLastVersion) {
  for (unsigned key = 1; key <= 6; ++key) write(key, key);
  clean(0);
  EXPECT_EQ(log->cleanedVersion(), LogVersion(0));
  EXPECT_EQ(logMap().size(), 6u);
  clean(5);
  EXPECT_EQ(logMap().size(), 1u);
  EXPECT_TRUE(logged(6));
  clean(5);
  EXPECT_EQ(logMap().size(), 1u);
  clean(4);
  EXPECT_EQ(log->cleanedVersion(), LogVersion(4)) << "lowered, nothing removed";
  EXPECT_TRUE(logged(6));
  clean(6);
  EXPECT_EQ(logMap().size(), 0u);
  EXPECT_EQ(live().size(), 6u) << "a write leaves its configuration record";
}

TEST_F(LogWrite, TheFirstCleanUpOfALifePassesOverLaterRecords) {
  for (unsigned key = 1; key <= 6; ++key) write(key, key);
  remove(1);
  restart();
  EXPECT_EQ(log->cleanedVersion(), LogVersion(0));
  clean(4);
  EXPECT_EQ(logMap().size(), 3u);
  EXPECT_FALSE(logged(4));
  clean(7);
  EXPECT_EQ(logMap().size(), 0u);
  EXPECT_EQ(record(1), nullptr);
}

TEST_F(LogWrite, ARecordWrittenAgainOutlivesTheCleaningOfItsRemoval) {
  write(1, 10);
  remove(1);
  write(1, 11);
  clean(2);
  EXPECT_EQ(live(), (Values{{1, 11}}));

  write(2, 20);
  clear();
  write(1, 12);
  clean(5);
  EXPECT_EQ(record(2), nullptr);
  EXPECT_EQ(live(), (Values{{1, 12}}));
}

TEST_F(LogWrite, CleaningARecordOfAnUnmountedUnitLeavesItsConfiguration) {
  write(1, 10);
  remove(1);
  end();
  open();
  TraceCapture trace("InLif1EntryLog", 3);
  clean(2);
  EXPECT_EQ(trace.count(" configShoal not found for unitId: 1"), 2u);
  EXPECT_EQ(logMap().size(), 0u);
  mount(kUnit, 0);
  EXPECT_NE(record(1), nullptr) << "no version known: all records stay";
  log->tableConfigShoalDel(kUnit);
  mount(kUnit, 2);
  EXPECT_EQ(record(1), nullptr);
}

TEST_F(LogWrite, NeededVersionsGoWithTheirRecord) {
  group()->announce(LoamInLif::InLif0::tableId, LogVersion(9));
  auto const needed = Pivot::make<Asic::NeededEntry>();
  needed->add(Asic::TableVersion(LoamInLif::InLif0::tableId, LogVersion(4)));
  write(1, 10, kUnit, false, needed);
  using NeededReader = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>;
  auto const reader = NeededReader::open(Asic::Constants::canonicalGroupNeededShoalPath(group()->name()));
  ASSERT_EQ(reader.state, Shoal::OpenState::ok);
  EXPECT_EQ(reader.reader->size(), 1u);
  clean(1);
  EXPECT_EQ(reader.reader->size(), 0u);
}

// --- room ---

TEST_F(LogWrite, AFullUnitMakesANewKeyWaitOrFail) {
  Key const newKey(100000);
  for (unsigned key = 0; key < 65536; ++key) write(key, 1);
  clean(65536);
  EXPECT_FALSE(log->unitHasRoomForKey(kUnit, newKey)) << "full of live records: it fails";
  EXPECT_TRUE(log->roomReserve(kUnit, &newKey).isOk()) << "nothing to wait for";
  EXPECT_TRUE(log->unitHasRoomForKey(kUnit, Key(5))) << "a replacement";
  EXPECT_EQ(write(5, 2), 65537u);

  remove(7);
  EXPECT_TRUE(log->unitHasRoomForKey(kUnit, newKey));
  EXPECT_FALSE(log->roomReserve(kUnit, &newKey).isOk()) << "it waits for the clean-up";
  EXPECT_TRUE(log->roomReserve(kUnit).isOk()) << "a removal needs no record of its own";
  clean(65538);
  EXPECT_TRUE(log->roomReserve(kUnit, &newKey).isOk());
  EXPECT_EQ(write(100000, 1), 65539u);
  EXPECT_FALSE(log->unitHasRoomForKey(kUnit, Key(100001)));
}

// A log that is full to the last record: nothing fails, and what found no room is done after the clean-up, in
// the order in which it was asked for.
TEST_F(LogWrite, WhatFindsNoRoomIsDoneAfterTheNextCleanUp) {
  using Log = LoamTunnelNiLib::InLifModelEntryLogShoal;
  end();
  std::filesystem::remove_all(store.directory());
  VexSharedMem::typeRegister<Log>(Log::kTypeName);  // no room beyond the client's maximum
  std::filesystem::create_directory(store.directory());
  std::filesystem::permissions(store.directory(), std::filesystem::perms::owner_all);
  begin();
  mount(2);
  for (unsigned key = 1; key <= 4; ++key) write(key, key);
  write(1, 50, 2);
  while (logMap().size() < 999999) write(4, logMap().size() & 0x7F);
  write(4, 4);
  EXPECT_FALSE(log->roomReserve(kUnit).isOk());

  std::uint64_t const version = log->tableVersion().value();
  Values const before = live();
  TraceCapture trace("InLif1EntryLog", 1);
  EXPECT_EQ(write(2, 20), 2u) << "the version of the record that stays";
  EXPECT_EQ(write(2, 21), 2u);
  EXPECT_EQ(remove(3), 3u);
  EXPECT_EQ(write(7, 7), 0u);
  EXPECT_EQ(remove(7), 0u) << "nothing stands, and nothing is left to be written";
  write(2, 51, 2);
  clear(2);
  write(3, 52, 2);
  EXPECT_EQ(write(1, 9), 1u);
  EXPECT_EQ(write(1, 1, kUnit, true), 1u) << "what stands is wanted after all";
  EXPECT_EQ(live(), before);
  EXPECT_EQ(log->tableVersion().value(), version);
  EXPECT_EQ(trace.texts().size(), 8u) << "each said so once";

  clean(2);
  EXPECT_EQ(log->tableVersion().value(), version + 2) << "room for two";
  clean(10);
  EXPECT_EQ(live(1), (Values{{1, 1}, {2, 21}, {4, 4}}));
  EXPECT_EQ(live(2), (Values{{3, 52}}));
  EXPECT_EQ(log->tableVersion().value(), version + 4);
  EXPECT_EQ(scratchpad(), version + 4);
  VexSharedMem::typeRegister<Log>(Log::kTypeName, Log::kStoreCapacity);
}

// --- damage ---

TEST_F(LogWrite, DamageCountsAsAbsenceAndIsReported) {
  write(1, 10);
  LoamTunnelNiLib::InLifModelLogEntry entry;
  entry.key = Key(2);
  entry.inLifData = kConspicuous;
  log->entryIs(entry, keys, nullptr, kUnit, stats, false);
  flipConspicuous(store.fileOf(LoamInLif::InLif1Constants::configShoalPath(kUnit)));
  TraceCapture trace("*", 1);
  EXPECT_FALSE(log->entryHas(Key(2), kUnit));
  EXPECT_TRUE(log->entry(Key(2), kUnit).isEq({}));
  EXPECT_EQ(remove(2), 0u);
  EXPECT_EQ(trace.countContaining("corruption detected"), 3u);
  EXPECT_TRUE(log->tableConfigShoal(kUnit)->collectionControl().corrupted());
  EXPECT_EQ(clear(), 3u) << "the walk ends, the record is logged all the same";
  EXPECT_TRUE(logged(3));
  EXPECT_EQ(log->entryIs(entry, keys, nullptr, kUnit, stats, true), LogVersion(4))
      << "not identical to damage";
}

}  // namespace
