// The entry log of one instance on a store of its own, without tables: lives that end and begin again, and a
// few words for what a table would ask of the log.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "Asic/Constants.h"
#include "Asic/OrderedTableInterface.h"
#include "LoamInLif/log/EntryLogOf.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "Statehub/EntityManager.h"
#include "support/TempStore.h"

namespace TestSupport {

using Asic::LogVersion;
using LoamTunnelNiLib::InLifModelEntryKey;
using NeededPtr = Pivot::Ptr<Asic::NeededEntry const>;

// A value by which a record is found in a file, where it reads "TOPSSART".
inline constexpr std::uint64_t kConspicuous = 0x5452415353504F54;

inline unsigned valueOf(LoamTunnelNiLib::InLifModelLogEntry const& entry) {
  return std::to_integer<unsigned>(entry.client[0]);
}
template <class Record, class Visit>
void forEach(Shoal::ShoalMap<Record>& map, Visit visit) {
  Shoal::IterHint hint;
  for (Record const* at = map.first(hint); at != nullptr;
       at = map.next(Shoal::RecordTraits<Record>::key(*at), hint)) {
    visit(*at);
  }
}

template <class I, class Log>
class LogWorld {
 public:
  static constexpr Asic::UnitId kUnit = 1;

  LogWorld() = default;
  // On a store that exists already and stays.
  explicit LogWorld(std::string const& directory) : store(directory) {}

  // Begins a life and mounts the unit, as if the hardware had taken the log up to `taken`.
  void begin(std::uint64_t taken = 0) {
    open();
    mount(kUnit, taken);
  }
  // Begins a life without any unit; `relaunched` is the agent that is to be relaunched after a loss.
  void open(char const* relaunched = I::agentName) {
    store.claim();
    central = Pivot::make<Statehub::EntityManager>("test", true);
    tables = Pivot::make<Asic::OrderedTableInterface>(central);
    tables->makeGroupIntf(I::agentName, I::groupName, I::agentAndGroupId);
    log = Pivot::make<Log>(I::tableId, central, group(), relaunched);
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
  // One that can be found in the files by its contents; the version that it takes.
  std::uint64_t writeConspicuous(unsigned key, bool suppress = false) {
    LoamTunnelNiLib::InLifModelLogEntry entry;
    entry.key = InLifModelEntryKey(key);
    entry.inLifData = kConspicuous;
    return log->entryIs(entry, keys, nullptr, kUnit, stats, suppress).value();
  }
  std::uint64_t remove(unsigned key, Asic::UnitId unit = kUnit) {
    return log->entryDel(InLifModelEntryKey(key), nullptr, unit).value();
  }
  std::uint64_t clear(Asic::UnitId unit = kUnit) { return log->tableDel(nullptr, unit).value(); }
  void clean(std::uint64_t upTo) { log->cleanupEntryLog(LogVersion(upTo)); }

  auto& configMap(Asic::UnitId unit = kUnit) { return log->tableConfigShoal(unit)->swTableEntries(); }
  auto& logMap() { return log->tableEntryLog()->entryLogConfig(); }
  bool logged(std::uint64_t version) { return logMap().has(LogVersion(version)); }
  // The record of a key, or null.
  auto const* record(unsigned key, Asic::UnitId unit = kUnit) {
    return configMap(unit).find(InLifModelEntryKey(key));
  }
  // What stands live: key and value.
  std::map<unsigned, unsigned> live(Asic::UnitId unit = kUnit) {
    std::map<unsigned, unsigned> found;
    forEach(configMap(unit), [&](auto const& record) {
      if (record.isDeleted == 0) found[record.key().value()] = valueOf(record.tableEntry);
    });
    return found;
  }
  std::string logFile() { return store.fileOf(I::Constants::tableEntryLogShoalPath()); }
  std::string configFile() { return store.fileOf(I::Constants::configShoalPath(kUnit)); }
  // Between two lives: what the hardware would have, an entry of each unit, and how far it has applied the log.
  void makeImage(std::uint64_t applied, std::initializer_list<Asic::UnitId> units = {}) {
    store.claim(TempStore::Role::writer);
    Shoal::ShoalMap<LoamTunnelNiLib::InLifImageEntry> image;
    mustBeOk(image.mount({I::Constants::imageShoalPath(), LoamTunnelNiLib::InLifImage::kMaxEntries, 0,
                          TempStore::Role::writer}));
    for (Asic::UnitId const unit : units) {
      LoamTunnelNiLib::InLifImageEntry entry;
      entry.key = {unit, InLifModelEntryKey(1)};
      image.set(entry);
    }
    image.collectionControl().scratchpadIs(applied);
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
