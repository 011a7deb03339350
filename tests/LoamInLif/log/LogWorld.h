// The entry log of one instance on a store of its own, without tables: lives that end and begin again, and a
// few words for what a table would ask of the log.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <string>

#include "Asic/Constants.h"
#include "Asic/OrderedTableInterface.h"
#include "LoamInLif/EntryLogOf.h"
#include "Statehub/EntityManager.h"
#include "support/TempStore.h"

namespace TestSupport {

using Asic::LogVersion;
using LoamTunnelNiLib::InLifModelEntryKey;
using NeededPtr = Pivot::Ptr<Asic::NeededEntry const>;

inline constexpr std::uint64_t kConspicuous = 0x5452415353504F54;  // "TOPSSART" in the file
/// A value by which a record is found in a file, and the flip of a bit within it. Files are sparse and large,
/// so only what holds data is looked through.
inline void flipConspicuous(std::string const& file) {
  int const fd = ::open(file.c_str(), O_RDWR);
  bool flipped = false;
  for (off_t at = ::lseek(fd, 0, SEEK_DATA); at >= 0 && !flipped;) {
    off_t const hole = ::lseek(fd, at, SEEK_HOLE);
    std::string bytes(static_cast<std::size_t>(hole - at), '\0');
    ASSERT_EQ(::pread(fd, bytes.data(), bytes.size(), at), hole - at);
    if (std::size_t const found = bytes.find("TOPSSART"); found != std::string::npos) {
      flipped = ::pwrite(fd, "t", 1, at + static_cast<off_t>(found)) == 1;
    }
    at = ::lseek(fd, hole, SEEK_DATA);
  }
  ::close(fd);
  ASSERT_TRUE(flipped);
}

template <class I, class Log>
class LogWorld {
 public:
  static constexpr Asic::UnitId kUnit = 1;

  /// Begins a life and mounts the unit, as if the hardware had taken the log up to `taken`.
  void begin(std::uint64_t taken = 0) {
    open();
    mount(kUnit, taken);
  }
  /// Begins a life without any unit.
  void open() {
    store.claim();
    central = Pivot::make<Statehub::EntityManager>("test", true);
    tables = Pivot::make<Asic::OrderedTableInterface>(central);
    tables->makeGroupIntf(I::agentName, I::groupName, I::agentAndGroupId);
    log = Pivot::make<Log>(I::tableId, central, group(), I::agentName);
  }
  void mount(Asic::UnitId unit, std::uint64_t taken = 0) { log->mountShoalConfig(unit, LogVersion(taken)); }
  void end() {
    log.reset();
    if (tables) tables->takeDown();
    tables.reset();
    central.reset();
    VexSharedMem::StoreRoot::release();
  }
  void restart(std::uint64_t taken = 0) {
    end();
    begin(taken);
  }

  Pivot::Ptr<Asic::GroupInterface> group() {
    return tables->group(Asic::Constants::canonicalizeGroupName(I::agentName, I::groupName));
  }

  std::uint64_t write(unsigned key, unsigned value, Asic::UnitId unit = kUnit, bool suppress = false,
                      NeededPtr const& needed = nullptr) {
    LoamTunnelNiLib::InLifModelLogEntry entry;
    entry.key = InLifModelEntryKey(key);
    entry.client[0] = static_cast<std::byte>(value);
    return log->entryIs(entry, keys, needed, unit, stats, suppress).value();
  }
  std::uint64_t remove(unsigned key, Asic::UnitId unit = kUnit) {
    return log->entryDel(InLifModelEntryKey(key), nullptr, unit).value();
  }
  std::uint64_t clear(Asic::UnitId unit = kUnit) { return log->tableDel(nullptr, unit).value(); }
  void clean(std::uint64_t upTo) { log->cleanupEntryLog(LogVersion(upTo)); }

  auto& configMap(Asic::UnitId unit = kUnit) { return log->tableConfigShoal(unit)->swTableEntries(); }
  auto& logMap() { return log->tableEntryLog()->entryLogConfig(); }
  bool logged(std::uint64_t version) { return logMap().has(LogVersion(version)); }
  /// The record of a key, or null.
  auto const* record(unsigned key, Asic::UnitId unit = kUnit) {
    return configMap(unit).find(InLifModelEntryKey(key));
  }
  /// What stands live: key and value.
  std::map<unsigned, unsigned> live(Asic::UnitId unit = kUnit) {
    std::map<unsigned, unsigned> found;
    Shoal::IterHint hint;
    auto& map = configMap(unit);
    for (auto const* at = map.first(hint); at != nullptr; at = map.next(at->key(), hint)) {
      if (at->isDeleted == 0) found[at->key().value()] = std::to_integer<unsigned>(at->tableEntry.client[0]);
    }
    return found;
  }
  std::uint64_t scratchpad() { return log->tableEntryLog()->collectionControl().scratchpad(); }
  std::uint64_t announced() { return group()->announcedVersion(I::tableId).value(); }

  TempStore store;
  Pivot::Ptr<Statehub::EntityManager> central;
  Pivot::Ptr<Asic::OrderedTableInterface> tables;
  Pivot::Ptr<Log> log;
  Pivot::Ptr<Asic::SwTableStats> stats = Pivot::make<Asic::SwTableStats>();
  LoamTunnelNiLib::InLifModelResourceKeys keys;

  ~LogWorld() { end(); }
};

}  // namespace TestSupport
