// Publishing: the three operations, the suppression of identical writes, and the steps that they share.
#include "LoamInLif/EntryLogCore.h"

#include "LoamInLif/EntryLogWalk.h"
#include "Shoal/CrashPoint.h"

namespace LoamInLif {

// --- the steps of a publication ---

Asic::LogVersion EntryLogCore::publicationBegin(IntentKind kind, Asic::UnitId unitId, Key const& key,
                                                NeededPtr const& needed) {
  Asic::LogVersion const version = log_.tableVersionInc(1);
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
  shoal_->collectionControl().intentIs({reinterpret_cast<std::uint8_t const*>(&intent), intent.size()});
}

void EntryLogCore::configRecordIs(ConfigShoal& config, LogEntry const& entry, ResourceKeys const& keys,
                                  Asic::LogVersion version, bool isDeleted) {
  config.swTableEntriesIs(entry, keys, version, isDeleted);
  LOAM_CRASH_POINT("log: configuration record");
}

void EntryLogCore::logRecordIs(Asic::LogVersion version, LogEntry const& entry, Asic::UnitId unitId,
                               std::uint8_t logFlags) {
  LogRecord record;
  record.logVersion = version;
  record.logEntry = entry;
  record.unitId = unitId;
  record.logFlags = logFlags;
  shoal_->entryLogConfigIs(record);
  LOAM_CRASH_POINT("log: log record");
}

void EntryLogCore::publicationEnd(Asic::LogVersion version, NeededPtr const& needed) {
  shoal_->collectionControl().scratchpadIs(version.value());
  LOAM_CRASH_POINT("log: scratchpad");
  log_.groupInterface()->addLogEntry(log_.tableId(), version, needed);
  LOAM_CRASH_POINT("log: group told");
  shoal_->collectionControl().intentClear();
}

// --- the operations ---

Asic::LogVersion EntryLogCore::entryIs(ConfigShoal& config, LogEntry const& tableEntry,
                                       ResourceKeys const& rsrcKeys, NeededPtr const& neededEntry,
                                       Asic::UnitId unitId, Pivot::Ptr<Asic::SwTableStats> const& stats,
                                       bool suppressIdenticalWrites) {
  // A record that is about to be cleared does not count as standing.
  if (suppressIdenticalWrites && !deferredClears_.contains(unitId)) {
    if (auto const standing = standingIdentical(config, tableEntry, rsrcKeys, stats)) {
      deferredForget(unitId, tableEntry.key);
      return *standing;
    }
  }
  if (anyDeferred()) deferredRedo();
  // Room and intent take about as long as the memory needs for the place of the record.
  config.swTableEntries().prefetch(tableEntry.key);
  if (Pivot::Status const room = roomFor(config, 1); !room) [[unlikely]] {
    writeDefer(unitId, {tableEntry, rsrcKeys, neededEntry, false}, room);
    return entryLogVersion(config, tableEntry.key);
  }
  Asic::LogVersion const version = publicationBegin(IntentKind::write, unitId, tableEntry.key, neededEntry);
  VEX_TRACE(trace_, 8, " logEntry: {} neededEntry: {} version: {} unitId: {} suppressIdenticalWrites: {}",
            tableEntry, neededEntry, version, unitId, suppressIdenticalWrites);
  writePublish(config, tableEntry, rsrcKeys, neededEntry, unitId, version);
  return version;
}

void EntryLogCore::writePublish(ConfigShoal& config, LogEntry const& entry, ResourceKeys const& keys,
                                NeededPtr const& needed, Asic::UnitId unitId, Asic::LogVersion version) {
  deferredForget(unitId, entry.key);
  configRecordIs(config, entry, keys, version, false);
  keyUnmarked(unitId, entry.key);
  logRecordIs(version, entry, unitId, 0);
  publicationEnd(version, needed);
}

std::optional<Asic::LogVersion> EntryLogCore::standingIdentical(
    ConfigShoal& config, LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
    Pivot::Ptr<Asic::SwTableStats> const& stats) const {
  ConfigRecord const& standing = recordRead(config.swTableEntries(), tableEntry.key);
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

Asic::LogVersion EntryLogCore::entryDel(ConfigShoal& config, Key const& key, NeededPtr const& neededEntry,
                                        Asic::UnitId unitId) {
  VEX_TRACE(trace_, 8, " key:{} neededEntry: {} unitId: {}", key, neededEntry, unitId);
  if (anyDeferred()) deferredRedo();
  bool found = false;
  ConfigRecord const& standing = recordRead(config.swTableEntries(), key, &found);
  if (!found) {
    VEX_TRACE(trace_, 3, " key: {} entry does not exist. So ignoring delete", key);
    deferredForget(unitId, key);
    return Asic::LogVersion();
  }
  // The record in the store goes when it is replaced, and both new records are made from it.
  LogEntry const entry = standing.tableEntry;
  ResourceKeys const keys = standing.rsrcKeys;
  if (Pivot::Status const room = roomFor(config, 1); !room) [[unlikely]] {
    Asic::LogVersion const version = standing.logVersion;
    writeDefer(unitId, {entry, keys, neededEntry, true}, room);
    return version;
  }
  return removalPublish(config, entry, keys, neededEntry, unitId);
}

Asic::LogVersion EntryLogCore::removalPublish(ConfigShoal& config, LogEntry const& entry,
                                              ResourceKeys const& keys, NeededPtr const& needed,
                                              Asic::UnitId unitId) {
  deferredForget(unitId, entry.key);
  Asic::LogVersion const version = publicationBegin(IntentKind::removal, unitId, entry.key, needed);
  configRecordIs(config, entry, keys, version, true);
  keyMarked(unitId, entry.key);
  logRecordIs(version, entry, unitId, LogRecord::kIsEntryDeleted);
  publicationEnd(version, needed);
  return version;
}

Asic::LogVersion EntryLogCore::tableDel(ConfigShoal& config, NeededPtr const& neededEntry,
                                        Asic::UnitId unitId) {
  VEX_TRACE(trace_, 8, " neededEntry:{}, unitId: {}", neededEntry, unitId);
  // What was set aside for the unit so far would be cleared too.
  std::erase_if(deferredWrites_, [&](auto const& deferred) { return deferred.first.first == unitId; });
  deferredClears_.erase(unitId);
  if (anyDeferred()) deferredRedo();
  if (Pivot::Status const room = roomFor(config, 1); !room) [[unlikely]] {
    clearDefer(unitId, neededEntry, room);
    return log_.tableVersion();
  }
  return clearPublish(config, neededEntry, unitId);
}

Asic::LogVersion EntryLogCore::clearPublish(ConfigShoal& config, NeededPtr const& needed,
                                            Asic::UnitId unitId) {
  Asic::LogVersion const version = publicationBegin(IntentKind::tableDelete, unitId, Key(), needed);
  liveRecordsMark(config, unitId, version);
  logRecordIs(version, LogEntry(), unitId, LogRecord::kIsTableDeleted);
  publicationEnd(version, needed);
  return version;
}

void EntryLogCore::liveRecordsMark(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion version) {
  recordsWalk(config.swTableEntries(), [&](ConfigRecord const& record) {
    if (record.isDeleted != 0) return;
    Key const key = record.key();
    // A copy, since the record goes when it is replaced; read again by its key, since that is the check that
    // it is found where its key says. One that is not would come back as the default record, under key 0.
    bool found = false;
    ConfigRecord const live = recordRead(config.swTableEntries(), key, &found);
    if (!found) return;
    configRecordIs(config, live.tableEntry, live.rsrcKeys, version, true);
    keyMarked(unitId, key);
  });
}

// --- the marked keys of a unit ---

std::unordered_set<std::uint32_t> const& EntryLogCore::markedKeys(ConfigShoal& config,
                                                                  Asic::UnitId unitId) const {
  auto& entries = config.swTableEntries();
  Marked& marked = marked_[unitId];
  if (marked.lossEpoch != entries.lossEpoch()) {
    marked.lossEpoch = entries.lossEpoch();
    marked.keys.clear();
    recordsWalk(entries, [&](ConfigRecord const& record) {
      if (record.isDeleted != 0) marked.keys.insert(record.key().value());
    });
  }
  return marked.keys;
}

void EntryLogCore::keyMarked(Asic::UnitId unitId, Key const& key) {
  if (auto const unit = marked_.find(unitId); unit != marked_.end()) unit->second.keys.insert(key.value());
}

void EntryLogCore::keyUnmarked(Asic::UnitId unitId, Key const& key) {
  if (auto const unit = marked_.find(unitId); unit != marked_.end() && !unit->second.keys.empty()) {
    unit->second.keys.erase(key.value());
  }
}

}  // namespace LoamInLif
