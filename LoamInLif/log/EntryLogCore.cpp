// What is done for each operation of the table: room is asked for, a change is published, entries are read. What
// stands committed is read from the shared configuration, which is the only store of committed entries; a record
// whose removal waits for clean-up is gone for some reads and present for others.
#include "LoamInLif/log/EntryLogCore.h"

#include <fmt/format.h>

#include "Shoal/CrashPoint.h"
#include "Shoal/ReportedReads.h"
#include "Vex/Assert.h"

namespace LoamInLif {

// --- the units ---

EntryLogCore::Unit* EntryLogCore::mountedUnit(Asic::UnitId unitId) {
  auto const at = units_.find(unitId);
  return at != units_.end() && at->second.isMounted ? &at->second : nullptr;
}

EntryLogCore::Unit& EntryLogCore::unit(Asic::UnitId unitId) {
  Unit* const mounted = mountedUnit(unitId);
  VEX_ASSERT_MSG(mounted != nullptr, "tableConfigShoalHas( unitId )",
                 "Config shoal for unitId:{} is not created yet!", unitId);
  return *mounted;
}

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

// --- room, asked before anything is published ---

// Who gets how much of a log that is nearly full. Each asks for more than it takes, so that the rest is left for
// those below it:
//
//   asks       for so many records  so that
//   update     2 units + 2          an operation finds what it asks for
//   operation  2 units + 1          an operation of each unit, found ready and not committed yet, and a clear of
//                                   each unit, which its hooks may ask for before it commits, find theirs
//   clear      2                    the operation in whose hook it is asked for finds its own
std::uint32_t EntryLogCore::recordsOf(Asker asker) const {
  auto const units = static_cast<std::uint32_t>(units_.size());
  switch (asker) {
    case Asker::update:
      return 2 * units + 2;
    case Asker::operation:
      return 2 * units + 1;
    default:
      return 2;
  }
}

// Each record may have needs.
Pivot::Status EntryLogCore::logRoom(std::uint32_t records) const {
  if (Pivot::Status status = log().reserve(records); !status) return status;
  return groupInterface()->announcement().reserve(records);
}

// A record that is there is replaced, for which the store keeps a spare slot, also in a full configuration.
Pivot::Status EntryLogCore::keyRoom(Unit const& unit, Key const& key) const {
  // In a full unit without asking the store, which would word its refusal for each operation.
  if (unit.isFull() && Shoal::holds(unit.entries(), key)) return Pivot::Status::ok();
  Pivot::Status status = unit.entries().reserve(1);
  return status || !Shoal::holds(unit.entries(), key) ? status : Pivot::Status::ok();
}

Pivot::Status EntryLogCore::reserveRoom(Asic::UnitId unitId, Key const* newKey) {
  Unit& of = unit(unitId);
  Pivot::Status status = takeRoom(of, newKey);
  if (status) {
    of.refusal.reset();
  } else {
    of.refusal = status.message();
  }
  return status;
}

Pivot::String const* EntryLogCore::roomRefusal(Asic::UnitId unitId) const {
  auto const at = units_.find(unitId);
  return at != units_.end() && at->second.refusal ? &*at->second.refusal : nullptr;
}

bool EntryLogCore::isFull() const {
  return log().size() >= log().maximum();
}

Pivot::Status EntryLogCore::takeRoom(Unit const& unit, Key const* newKey) const {
  if (isFull()) {
    return Pivot::Status::refused(
        fmt::format("the log holds {} records, of at most {}", log().size(), log().maximum()));
  }
  if (newKey != nullptr) {
    if (Pivot::Status status = keyRoom(unit, *newKey); !status) {
      if (!unit.isFull()) return status;
      if (std::size_t const marked = unit.markedKeys().size(); marked != 0)
        return Pivot::Status::refused(
            fmt::format("unit {} is full while {} removed entries wait for clean-up", unit.id, marked));
      // Full of live entries: the commit fails the write.
    }
  }
  return logRoom(recordsOf(Asker::operation));
}

bool EntryLogCore::repairStands(Asic::UnitId unitId) const {
  auto const at = units_.find(unitId);
  return at != units_.end() && at->second.repairStands;
}

bool EntryLogCore::unitHasRoomForKey(Asic::UnitId unitId, Key const& key) const {
  Unit const& of = unit(unitId);
  return !of.isFull() || !of.markedKeys().empty() || Shoal::holds(of.entries(), key);
}

// A refusal here is a caller's that has not asked before.
bool EntryLogCore::isRefused(Pivot::Status const& room, char const* what, Asic::UnitId unitId,
                             Key const& key) const {
  if (room) [[likely]]
    return false;
  VEX_TRACE(trace_, 1, " {} of key: {} unitId: {} is not published: {}", what, key, unitId, room.message());
  return true;
}

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
    for (Asic::TableVersion const& need : needed->versions()) {
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

// What damage hid from it would come back when the unit is published anew. What was lost with the damage is told when
// the group mends.
void EntryLogCore::markLiveRecords(Unit& unit, Asic::LogVersion version) {
  auto const mark = [&](ConfigRecord const& record) {
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
  };
  Shoal::walkBeyondDamage(unit.entries(), [&] { return Shoal::forEach(unit.entries(), mark); });
}

// --- reads ---

EntryLogCore::LogEntry EntryLogCore::entry(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  ConfigRecord const& record = Shoal::recordOrDefault(unit(unitId).entries(), key);
  return record.isDeleted != 0 ? LogEntry() : record.tableEntry;
}

bool EntryLogCore::entryHas(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  bool found = false;
  ConfigRecord const& record = Shoal::recordOrDefault(unit(unitId).entries(), key, &found);
  return found && record.isDeleted == 0;
}

bool EntryLogCore::entryCounts(Key const& key, Asic::UnitId unitId) const {
  // The pass shows up in the trace.
  if (trace_.enabled(8)) return entryHas(key, unitId);
  Unit const& of = unit(unitId);
  return !of.markedKeys().contains(key.value()) && Shoal::holds(of.entries(), key);
}

EntryLogCore::ResourceKeys EntryLogCore::entryRsrcKeys(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return Shoal::recordOrDefault(unit(unitId).entries(), key).rsrcKeys;
}

Asic::LogVersion EntryLogCore::entryLogVersion(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return Shoal::recordOrDefault(unit(unitId).entries(), key).logVersion;
}

std::uint32_t EntryLogCore::entrys(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  // Both counts are looked up on their own, so the pass shows up in the trace as it would for a caller.
  return unit(unitId).entries().size() - entrysInDeletion(unitId);
}

std::uint32_t EntryLogCore::entrysInDeletion(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  return static_cast<std::uint32_t>(unit(unitId).markedKeys().size());
}

}  // namespace LoamInLif
