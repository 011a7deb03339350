// The writer of the hardware against an agent that is played record by record: order, gaps, needs, reports,
// and what it does when it was killed or a collection was lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <thread>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "support/TempStore.h"
#include "tools/writer/HwWriter.h"

namespace {

using namespace Inlif;
using namespace LoamTunnelNiLib;
using Asic::LogVersion;
using Image = std::map<std::pair<unsigned, unsigned>, unsigned>;  // (unit, key) to value

constexpr std::size_t kA = 0;
constexpr std::size_t kB = 1;

template <class Record>
using Map = Shoal::ShoalMap<Record>;

InLifModelLogEntry entryOf(unsigned key, unsigned value) {
  InLifModelLogEntry entry;
  entry.key = InLifModelEntryKey(key);
  entry.inLifData = value;
  return entry;
}

class HwWriterTest : public testing::Test {
 protected:
  HwWriterTest() { store_.claim(); }

  template <class Record>
  static void mount(Map<Record>& map, std::string const& path, std::uint32_t maximum) {
    Pivot::Status const status = map.mount({path, maximum, 0, VexSharedMem::StoreRoot::Role::agent});
    ASSERT_TRUE(status.isOk()) << status.message();
  }
  template <class Record>
  static void put(Map<Record>& map, Record const& record) {
    ASSERT_TRUE(map.reserve(1).isOk());
    map.set(record);
  }

  // The agent makes its collections.
  void agentStarts() {
    for (std::size_t table = 0; table < kTables; ++table) {
      log_[table] = std::make_unique<Map<InLifModelLogShoalEntry>>();
      mount(*log_[table], tables()[table].logPath, 1000);
      config_[table] = std::make_unique<Map<InLifModelConfigShoalEntry>>();
      mount(*config_[table], tables()[table].configPath(1), 1000);
    }
    mount(needed_, neededPath(), 1000);
    mount(announced_, announcedPath(), Asic::kMaxTablesOfGroup);
    for (std::size_t table = 0; table < kTables; ++table) announce(table, 0);
  }
  void record(std::size_t table, std::uint64_t version, InLifModelLogEntry const& entry, std::uint8_t flags,
              Asic::UnitId unit = 1) {
    InLifModelLogShoalEntry record;
    record.logVersion = LogVersion(version);
    record.logEntry = entry;
    record.unitId = unit;
    record.logFlags = flags;
    put(*log_[table], record);
  }
  void configure(std::size_t table, std::uint64_t version, unsigned key, unsigned value,
                 bool removed = false) {
    InLifModelConfigShoalEntry record;
    record.tableEntry = entryOf(key, value);
    record.logVersion = LogVersion(version);
    record.isDeleted = removed;
    put(*config_[table], record);
  }
  // A publication of unit 1, whole but for the announcement.
  void write(std::size_t table, std::uint64_t version, unsigned key, unsigned value) {
    configure(table, version, key, value);
    record(table, version, entryOf(key, value), 0);
  }
  void remove(std::size_t table, std::uint64_t version, unsigned key) {
    configure(table, version, key, 0, true);
    record(table, version, entryOf(key, 0), InLifModelLogShoalEntry::kIsEntryDeleted);
  }
  void needs(std::size_t table, std::uint64_t version, std::size_t other, std::uint64_t otherVersion) {
    Asic::NeededRow row{};
    row.key = {tables()[table].id, LogVersion(version)};
    row.needs[0] = Asic::TableVersion(tables()[other].id, LogVersion(otherVersion));
    put(needed_, row);
  }
  void announce(std::size_t table, std::uint64_t version) {
    put(announced_, Asic::AnnouncedRow{tables()[table].id, 0, LogVersion(version)});
    announced_.collectionControl().wakeReaders();
  }

  // A writer process begins, as far as the store can tell.
  void writerStarts() {
    writer_.reset();
    writer_ = std::make_unique<HwWriter>();
    Pivot::Status const status = writer_->open();
    ASSERT_TRUE(status.isOk()) << status.message();
  }
  std::size_t step(std::size_t budget = 1000) { return writer_->step(budget); }
  std::uint64_t reported(std::size_t table) {
    SteadyReader<Asic::TableVersion> rows(tableVersionPath());
    Asic::TableVersion row;
    return rows.ready() && rows.lookup(tables()[table].id, row) == Read::found ? row.logVersion().value() : 0;
  }
  Image image(std::size_t table) {
    Image image;
    SteadyReader<InLifImageEntry> reader(tables()[table].imagePath);
    if (!reader.ready()) return image;
    walk(reader, [&](InLifImageEntry const& entry) {
      image[{entry.key.unitId, entry.key.entryKey.value()}] = static_cast<unsigned>(entry.entry.inLifData);
      return true;
    });
    return image;
  }
  // Loses a collection between two lives of its owner.
  void lose(std::string const& path) { ASSERT_EQ(std::remove(store_.fileOf(path).c_str()), 0) << path; }
  void damageHeader(std::string const& path) {
    std::fstream file(store_.fileOf(path), std::ios::in | std::ios::out | std::ios::binary);
    ASSERT_TRUE(file) << path;
    file.write("damaged!", 8);
  }

  TestSupport::TempStore store_;
  std::array<std::unique_ptr<Map<InLifModelLogShoalEntry>>, kTables> log_;
  std::array<std::unique_ptr<Map<InLifModelConfigShoalEntry>>, kTables> config_;
  Map<Asic::AnnouncedRow> announced_;
  Map<Asic::NeededRow> needed_;
  std::unique_ptr<HwWriter> writer_;
};

TEST_F(HwWriterTest, takesRecordsInOrderUpToTheAnnouncementAndStepsOverGaps) {
  agentStarts();
  writerStarts();
  write(kA, 1, 10, 100);
  write(kA, 2, 10, 200);
  write(kA, 5, 11, 300);
  write(kA, 6, 12, 400);
  announce(kA, 5);
  EXPECT_EQ(step(), 3u);
  EXPECT_EQ(image(kA), (Image{{{1, 10}, 200}, {{1, 11}, 300}})) << "version 6 is not announced";
  EXPECT_EQ(reported(kA), 5u);
  announce(kA, 9);
  EXPECT_EQ(step(), 1u);
  EXPECT_EQ(reported(kA), 9u) << "versions without a record count as applied";
  remove(kA, 10, 11);
  record(kA, 11, entryOf(13, 500), 0, 2);
  record(kA, 12, InLifModelLogEntry(), InLifModelLogShoalEntry::kIsTableDeleted, 1);
  write(kA, 13, 0, 600);
  announce(kA, 13);
  step();
  EXPECT_EQ(image(kA), (Image{{{2, 13}, 500}, {{1, 0}, 600}}))
      << "a unit is emptied alone, and key 0 is a key";
  EXPECT_EQ(reported(kB), 0u);
}

TEST_F(HwWriterTest, aRecordWaitsForWhatItNeeds) {
  agentStarts();
  writerStarts();
  write(kA, 1, 10, 100);
  write(kB, 1, 20, 100);
  write(kB, 2, 21, 100);
  needs(kB, 2, kA, 1);
  announce(kB, 2);
  step();
  EXPECT_EQ(writer_->applied(kB).value(), 1u);
  EXPECT_EQ(writer_->heldBack(kB).version.value(), 2u);
  EXPECT_EQ(writer_->heldBack(kB).need, Asic::TableVersion(tables()[kA].id, LogVersion(1)));
  EXPECT_EQ(reported(kB), 1u);
  announce(kA, 1);
  EXPECT_EQ(step(), 2u) << "what is freed by one table goes on in the same step";
  EXPECT_EQ(reported(kB), 2u);
  EXPECT_EQ(writer_->heldBack(kB).version.value(), 0u);
}

TEST_F(HwWriterTest, goesOnAfterItWasKilled) {
  agentStarts();
  writerStarts();
  for (unsigned version = 1; version <= 20; ++version) write(kA, version, version % 7, version);
  announce(kA, 20);
  for (std::size_t applied = 0; applied < 20; applied += 3) {
    EXPECT_EQ(step(3), std::min<std::size_t>(3, 20 - applied));
    writerStarts();
  }
  EXPECT_EQ(reported(kA), 20u);
  EXPECT_EQ(
      image(kA),
      (Image{
          {{1, 0}, 14}, {{1, 1}, 15}, {{1, 2}, 16}, {{1, 3}, 17}, {{1, 4}, 18}, {{1, 5}, 19}, {{1, 6}, 20}}));
}

TEST_F(HwWriterTest, aLostImageIsRebuiltFromTheConfiguration) {
  agentStarts();
  writerStarts();
  write(kA, 1, 10, 100);
  write(kA, 2, 11, 200);
  remove(kA, 3, 10);
  announce(kA, 3);
  step();
  // The agent cleans up what was reported, so that the log alone could not rebuild anything.
  for (std::uint64_t version = 1; version <= 3; ++version) log_[kA]->del(LogVersion(version));
  for (bool damaged : {false, true}) {
    writer_.reset();
    if (damaged)
      damageHeader(tables()[kA].imagePath);
    else
      lose(tables()[kA].imagePath);
    store_.reopen();
    writerStarts();
    configure(kA, 4, 12, 300);  // written, not yet announced
    step();
    EXPECT_EQ(image(kA), (Image{{{1, 11}, 200}}));
    EXPECT_EQ(reported(kA), 3u);
  }
}

TEST_F(HwWriterTest, aRowNeverFallsAndIsWrittenAgainWhenLost) {
  agentStarts();
  writerStarts();
  write(kA, 1, 10, 100);
  announce(kA, 7);
  step();
  EXPECT_EQ(reported(kA), 7u);
  announce(kA, 2);
  step();
  EXPECT_EQ(reported(kA), 7u) << "an announcement that fell is nothing to act on";
  writer_.reset();
  lose(tableVersionPath());
  store_.reopen();
  writerStarts();
  step();
  EXPECT_EQ(reported(kA), 7u);
}

TEST_F(HwWriterTest, aReplacedLogIsReadAnewBeforeAGapIsBelieved) {
  agentStarts();
  writerStarts();
  write(kA, 1, 10, 100);
  announce(kA, 1);
  step();
  log_[kA].reset();
  lose(tables()[kA].logPath);
  log_[kA] = std::make_unique<Map<InLifModelLogShoalEntry>>();
  store_.reopen();
  mount(*log_[kA], tables()[kA].logPath, 1000);
  write(kA, 3, 11, 300);
  announce(kA, 3);
  EXPECT_EQ(step(), 1u);
  EXPECT_EQ(image(kA), (Image{{{1, 10}, 100}, {{1, 11}, 300}}));
}

TEST_F(HwWriterTest, startsBeforeTheAgentAndWakesForIt) {
  writerStarts();
  EXPECT_EQ(step(), 0u);
  std::thread agent([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    agentStarts();
    write(kA, 1, 10, 100);
    announce(kA, 1);
  });
  auto const begin = std::chrono::steady_clock::now();
  while (writer_->applied(kA).value() == 0 &&
         std::chrono::steady_clock::now() - begin < std::chrono::seconds(20)) {
    writer_->wait(std::chrono::milliseconds(2000));
    step();
  }
  agent.join();
  EXPECT_EQ(writer_->applied(kA).value(), 1u);
}

}  // namespace
