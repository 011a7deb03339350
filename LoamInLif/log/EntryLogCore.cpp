// Publishing: the three operations, the suppression of identical writes, and the steps that they share.
#include "LoamInLif/log/EntryLogCore.h"

#include "Shoal/CrashPoint.h"
#include "Shoal/ReportedReads.h"

namespace LoamInLif {

// --- the steps of a publication ---

Asic::LogVersion EntryLogCore::beginPublication(IntentKind kind, Asic::UnitId unitId, Key const& key,
                                                NeededPtr const& needed) {
  Asic::LogVersion const version = tableVersionInc(1);
  LOAM_CRASH_POINT("log: version taken");
  intentIs(kind, version, unitId, key, needed);
  LOAM_CRASH_POINT("log: intent noted");
  return version;
}

void EntryLogCore::intentIs(IntentKind kind, Asic::LogVersion version, Asic::UnitId unitId, Key const& key,
                            NeededPtr const& needed) {
  EntryLogIntent intent;  // rows beyond neededCount stay unwritten and are not stored
  intent.version = version.value();
  intent.key = key.value();
  intent.unitId = unitId;
  intent.kind = kind;
  intent.neededCount = 0;
  if (needed) {
    for (Asic::TableVersion const& need : *needed) {
      if (intent.neededCount == EntryLogIntent::maxNeeded) {
        VEX_TRACE(trace_, 1, " version: {} needs more tables than a group has; {} is not kept over a death",
                  version, need);
        continue;
      }
      intent.needed[intent.neededCount++] = {need.logVersion().value(), need.tableId().value(), 0};
    }
  }
  logControl().intentIs({reinterpret_cast<std::uint8_t const*>(&intent), intent.size()});
}

void EntryLogCore::configRecordIs(Unit& unit, LogEntry const& entry, ResourceKeys const& keys,
                                  Asic::LogVersion version, bool isDeleted) {
  unit.config->swTableEntriesIs(entry, keys, version, isDeleted);
  LOAM_CRASH_POINT("log: configuration record");
}

// Formed first: what both collections get of the entry is what it holds, without the bytes that are nobody's.
EntryLogCore::LogRecord EntryLogCore::logRecord(Asic::LogVersion version, LogEntry const& entry,
                                                Asic::UnitId unitId, std::uint8_t logFlags) {
  LogRecord record;
  record.logVersion = version;
  record.logEntry = entry;
  record.logEntry.clearUnowned();
  record.unitId = unitId;
  record.logFlags = logFlags;
  return record;
}

void EntryLogCore::logRecordIs(LogRecord const& record) {
  tableEntryLog_->entryLogConfigIs(record);
  LOAM_CRASH_POINT("log: log record");
}

void EntryLogCore::endPublication(Asic::LogVersion version, NeededPtr const& needed) {
  logControl().scratchpadIs(version.value());
  LOAM_CRASH_POINT("log: scratchpad");
  groupInterface()->addLogEntry(tableId(), version, needed);
  LOAM_CRASH_POINT("log: group told");
  logControl().clearIntent();
}

// --- the operations ---

Asic::LogVersion EntryLogCore::entryIs(LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
                                       NeededPtr const& neededEntry, Asic::UnitId unitId,
                                       Pivot::Ptr<Asic::SwTableStats> const& stats,
                                       bool suppressIdenticalWrites) {
  Unit& of = unit(unitId);
  if (suppressIdenticalWrites) {
    if (auto const standing = standingIdentical(of, tableEntry, rsrcKeys, stats)) return *standing;
  }
  // Room and intent take about as long as the memory needs for the place of the record.
  of.entries().prefetch(tableEntry.key);
  if (isRefused(logRoom(1), "a write", unitId, tableEntry.key) ||
      isRefused(keyRoom(of, tableEntry.key), "a write", unitId, tableEntry.key))
    return Asic::LogVersion();
  Asic::LogVersion const version = beginPublication(IntentKind::write, unitId, tableEntry.key, neededEntry);
  VEX_TRACE(trace_, 8, " logEntry: {} neededEntry: {} version: {} unitId: {} suppressIdenticalWrites: {}",
            tableEntry, neededEntry, version, unitId, suppressIdenticalWrites);
  publishWrite(of, tableEntry, rsrcKeys, neededEntry, version);
  return version;
}

void EntryLogCore::publishWrite(Unit& unit, LogEntry const& entry, ResourceKeys const& keys,
                                NeededPtr const& needed, Asic::LogVersion version) {
  LogRecord const record = logRecord(version, entry, unit.id, 0);
  configRecordIs(unit, record.logEntry, keys, version, false);
  unit.unmarkKey(entry.key);
  logRecordIs(record);
  endPublication(version, needed);
}

std::optional<Asic::LogVersion> EntryLogCore::standingIdentical(
    Unit const& unit, LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
    Pivot::Ptr<Asic::SwTableStats> const& stats) const {
  ConfigRecord const& standing = Shoal::recordOrDefault(unit.entries(), tableEntry.key);
  if (standing.isEq(Shoal::AllocBase<ConfigRecord>::type_default()) || standing.isDeleted != 0) {
    return std::nullopt;
  }
  if (!standing.tableEntry.isEq(tableEntry) || !standing.rsrcKeys.isEq(rsrcKeys)) {
    VEX_TRACE(trace_, 3, "Not Suppressing write because entry or resource key is different  for key: {}",
              tableEntry.key);
    stats->suppressCheckDiffCntInc(1);
    return std::nullopt;
  }
  stats->suppressedWriteCntInc(1);
  VEX_TRACE(trace_, 3, "Suppressing identical write for key: {}", tableEntry.key);
  if (standing.logVersion == Asic::LogVersion()) return std::nullopt;
  return standing.logVersion;
}

Asic::LogVersion EntryLogCore::entryDel(Key const& key, NeededPtr const& neededEntry, Asic::UnitId unitId) {
  Unit& of = unit(unitId);
  VEX_TRACE(trace_, 8, " key:{} neededEntry: {} unitId: {}", key, neededEntry, unitId);
  bool found = false;
  ConfigRecord const& standing = Shoal::recordOrDefault(of.entries(), key, &found);
  if (!found) {
    VEX_TRACE(trace_, 3, " key: {} entry does not exist. So ignoring delete", key);
    return Asic::LogVersion();
  }
  if (isRefused(logRoom(1), "a removal", unitId, key)) return Asic::LogVersion();
  // The record in the store goes when it is replaced, and both new records are made from it.
  LogEntry const entry = standing.tableEntry;
  ResourceKeys const keys = standing.rsrcKeys;
  Asic::LogVersion const version = beginPublication(IntentKind::removal, unitId, key, neededEntry);
  LogRecord const record = logRecord(version, entry, unitId, LogRecord::kIsEntryDeleted);
  configRecordIs(of, record.logEntry, keys, version, true);
  of.markKey(key);
  logRecordIs(record);
  endPublication(version, neededEntry);
  return version;
}

Asic::LogVersion EntryLogCore::tableDel(NeededPtr const& neededEntry, Asic::UnitId unitId) {
  Unit& of = unit(unitId);
  VEX_TRACE(trace_, 8, " neededEntry:{}, unitId: {}", neededEntry, unitId);
  if (isRefused(logRoom(1), "a table delete", unitId, Key())) return Asic::LogVersion();
  Asic::LogVersion const version = beginPublication(IntentKind::tableDelete, unitId, Key(), neededEntry);
  markLiveRecords(of, version);
  logRecordIs(logRecord(version, LogEntry(), unitId, LogRecord::kIsTableDeleted));
  endPublication(version, neededEntry);
  return version;
}

void EntryLogCore::markLiveRecords(Unit& unit, Asic::LogVersion version) {
  Shoal::forEach(unit.entries(), [&](ConfigRecord const& record) {
    if (record.isDeleted != 0) return;
    Key const key = record.key();
    // A copy, since the record goes when it is replaced; read again by its key, since that is the check that
    // it is found where its key says. One that is not would come back as the default record, under key 0.
    bool found = false;
    ConfigRecord live = Shoal::recordOrDefault(unit.entries(), key, &found);
    if (!found) return;
    live.tableEntry.clearUnowned();
    configRecordIs(unit, live.tableEntry, live.rsrcKeys, version, true);
    unit.markKey(key);
  });
}

// --- the marked keys of a unit ---

EntryLogCore::Seen const& EntryLogCore::Unit::lookThrough() const {
  if (seen.lossEpoch != entries().lossEpoch()) {
    seen = {entries().lossEpoch(), {}, {}};
    Shoal::forEach(entries(), [&](ConfigRecord const& record) {
      if (record.isDeleted != 0) seen.marked.insert(record.key().value());
      seen.highest = std::max(seen.highest, record.logVersion);
    });
  }
  return seen;
}

void EntryLogCore::Unit::unmarkKey(Key const& key) {
  if (!seen.marked.empty()) seen.marked.erase(key.value());
}

}  // namespace LoamInLif
