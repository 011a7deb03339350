// An agent that is played record by record against a real store: what the writer of the hardware, `show` and
// the comparison read.
//
// Publications of unit 1 of the three tables, each whole but for its announcement, which the test makes. A
// writer of the hardware runs in the same process; writerStarts() begins another life of it.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <optional>

#include "LoamInLif/Tables.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "hardware/Writer.h"
#include "hardware/memory/ImageOnly.h"
#include "support/TempStore.h"

namespace PlayedAgent {

using namespace LoamTunnelNiLib;
using Asic::LogVersion;
using LoamInLif::groupInfo;
using LoamInLif::kTables;
using Image = std::map<std::pair<unsigned, unsigned>, unsigned>;  // (unit, key) to value

inline constexpr std::size_t kA = 0;
inline constexpr std::size_t kB = 1;
inline constexpr std::uint32_t kMostRecords = 8192;

template <class Record>
using Map = Shoal::ShoalMap<Record>;

inline InLifModelLogEntry entryOf(unsigned key, unsigned value) {
  InLifModelLogEntry entry;
  entry.key = InLifModelEntryKey(key);
  entry.inLifData = value;
  return entry;
}

// A record as a build lays it out that gives it so many more bytes, or fewer.
template <class Record, int kMore>
struct OtherBuild {
  std::uint64_t key;
  std::array<std::uint64_t, static_cast<std::size_t>(int{sizeof(Record)} + kMore) / 8 - 1> rest;
};

}  // namespace PlayedAgent

template <class Record, int kMore>
struct Shoal::RecordTraits<PlayedAgent::OtherBuild<Record, kMore>> {
  using Key = std::uint64_t;
  static Key key(PlayedAgent::OtherBuild<Record, kMore> const& record) { return record.key; }
  static constexpr char const* typeName = Shoal::RecordTraits<Record>::typeName;
  static constexpr std::uint64_t layout = Shoal::RecordTraits<Record>::layout + 1;
};

namespace PlayedAgent {

class StoreTest : public testing::Test {
 protected:
  StoreTest() { store_.claim(); }

  template <class Record>
  static void mount(Map<Record>& map, std::string const& path, std::uint32_t maximum) {
    Pivot::Status const status = map.mount({path, maximum, 0, VexSharedMem::StoreRoot::Role::agent});
    ASSERT_TRUE(status.isOk()) << status.message();
  }
  template <class Record>
  static void mountAnew(std::unique_ptr<Map<Record>>& map, std::string const& path) {
    map = std::make_unique<Map<Record>>();
    mount(*map, path, kMostRecords);
  }
  template <class Record>
  static void put(Map<Record>& map, Record const& record) {
    ASSERT_TRUE(map.reserve(1).isOk());
    map.set(record);
  }

  // The agent makes its collections.
  void agentStarts() {
    for (std::size_t table = 0; table < kTables; ++table) {
      mountAnew(log_[table], groupInfo().tables[table].logPath);
      mountAnew(config_[table], groupInfo().tables[table].configPath(1));
      config_[table]->collectionControl().agreesWithIs(log_[table]->collectionControl().incarnation());
    }
    mount(needed_, groupInfo().neededPath, kMostRecords);
    announcementsBegin();
  }
  void announcementsBegin() {
    mount(announced_.emplace(), groupInfo().announcedPath, Asic::kMaxTablesOfGroup);
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
    row.key = {groupInfo().tables[table].id, LogVersion(version)};
    row.needs[0] = Asic::TableVersion(groupInfo().tables[other].id, LogVersion(otherVersion));
    put(needed_, row);
  }
  // The agent cleans up what was reported.
  void clean(std::size_t table, std::uint64_t upTo) {
    for (std::uint64_t version = 1; version <= upTo; ++version) log_[table]->del(LogVersion(version));
  }
  void announce(std::size_t table, std::uint64_t version) {
    put(*announced_, Asic::AnnouncedRow{groupInfo().tables[table].id, 0, LogVersion(version)});
    announced_->collectionControl().wakeReaders();
  }

  // A writer process begins, as far as the store can tell.
  void writerStarts() {
    writer_.reset();
    writer_ = std::make_unique<LoamHardware::Writer>(groupInfo(), *hardware_);
    Pivot::Status const status = writer_->open();
    ASSERT_TRUE(status.isOk()) << status.message();
  }
  std::size_t turn(std::size_t budget = 1000) { return writer_->turn(budget); }
  // The agent announces a version, and the writer takes what it may; how many records.
  std::size_t take(std::size_t table, std::uint64_t version) {
    announce(table, version);
    return turn();
  }
  void settle() {
    while (turn() > 0) {
    }
    turn();
  }
  std::uint64_t reported(std::size_t table) {
    Shoal::SteadyReader<Asic::TableVersion> rows(groupInfo().tableVersionPath);
    Asic::TableVersion row;
    return rows.ready() && rows.lookup(groupInfo().tables[table].id, row) == Shoal::Read::found
               ? row.logVersion().value()
               : 0;
  }
  Image image(std::size_t table) {
    Image image;
    Shoal::SteadyReader<InLifImageEntry> reader(groupInfo().tables[table].imagePath);
    if (!reader.ready()) return image;
    walk(reader, [&](InLifImageEntry const& entry) {
      image[{entry.key.unitId, entry.key.entryKey.value()}] = static_cast<unsigned>(entry.entry.inLifData);
      return true;
    });
    return image;
  }
  // Loses a collection between two lives of its owner.
  void lose(std::string const& path) { ASSERT_EQ(std::remove(store_.fileOf(path).c_str()), 0) << path; }
  void loseLog(std::size_t table) {
    log_[table].reset();
    lose(groupInfo().tables[table].logPath);
  }
  // Flips a bit of the first record in the file whose inLifData is `value`: so many bytes behind that, where no
  // link leads through unless told otherwise.
  void flipBitBehind(std::string const& path, std::uint64_t value, off_t behind = 40) {
    InLifModelLogEntry const entry =
        entryOf(static_cast<unsigned>(value - 100), static_cast<unsigned>(value));
    TestSupport::flipBit(store_.fileOf(path), {reinterpret_cast<char const*>(&entry), 32}, behind);
  }
  void damageHeader(std::string const& path) {
    std::fstream file(store_.fileOf(path), std::ios::in | std::ios::out | std::ios::binary);
    ASSERT_TRUE(file) << path;
    file.write("damaged!", 8);
  }
  // The same between two lives of the writer.
  void loseUnderTheWriter(std::string const& path) {
    writer_.reset();
    lose(path);
    writerStarts();
  }

  TestSupport::TempStore store_;
  std::array<std::unique_ptr<Map<InLifModelLogShoalEntry>>, kTables> log_;
  std::array<std::unique_ptr<Map<InLifModelConfigShoalEntry>>, kTables> config_;
  std::optional<Map<Asic::AnnouncedRow>> announced_;
  Map<Asic::NeededRow> needed_;
  LoamHardware::ImageOnly imageOnly_;
  LoamHardware::Hardware* hardware_ = &imageOnly_;  // of the writer that starts next
  std::unique_ptr<LoamHardware::Writer> writer_;
};

class StartedTest : public StoreTest {
 protected:
  StartedTest() {
    agentStarts();
    writerStarts();
  }
};

}  // namespace PlayedAgent
