// Clean-up: what the hardware has taken leaves the change log, and with it what removals had marked leaves
// the configurations. A log record is always out of the log before the configuration is touched: a process
// killed in between leaves marked records that the next mount of the unit drops. Before either, it is noted in
// every configuration, and then in the log, how far the log is cleaned. What the log has lost it cannot tell any
// more: from that note the next life knows a configuration that missed it, and the writer of the hardware an image.
#include "LoamInLif/log/EntryLogCore.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ReportedReads.h"

namespace LoamInLif {

void EntryLogCore::cleanupEntryLog(Asic::LogVersion upTo) {
  VEX_TRACE(trace_, 8, " version {}", upTo);
  Asic::LogVersion const cleaned = cleanedVersion();
  if (cleaned > upTo) {
    cleanedVersionIs(upTo);
    return;
  }
  noteCleaned(upTo);
  if (cleaned != Asic::LogVersion()) {
    for (std::uint64_t version = cleaned.value();; ++version) {
      cleanLogRecord(Asic::LogVersion(version));
      if (version == upTo.value()) break;
    }
  } else {
    // The first clean-up of this run does not know where the log begins.
    Shoal::forEach(log(), [&](LogRecord const& record) {
      if (record.version() <= upTo) cleanLogRecord(record);
    });
  }
  cleanedVersionIs(upTo);
  for (auto& [unitId, unit] : units_) {
    if (!unit.isLate) continue;
    if (unit.isMounted) dropMarkedTaken(unit, upTo);
    // A report comes in steps, the first of them with the version that a unit was mounted with.
    unit.isLate = upTo.value() < logControl().watermark();
  }
  redoRepairs();
}

void EntryLogCore::cleanLogRecord(Asic::LogVersion version) {
  bool found = false;
  LogRecord const& record = Shoal::recordOrDefault(log(), version, &found);
  if (found) cleanLogRecord(record);
}

void EntryLogCore::cleanLogRecord(LogRecord const& inLog) {
  LogRecord const record = inLog;
  // The needs first: the hardware has taken the record, and needs without a record would stay for ever.
  groupInterface()->announcement().logEntryDel(tableId(), record.version());
  LOAM_CRASH_POINT("log: needs dropped");
  tableEntryLog_->entryLogConfigDel(record.version());
  LOAM_CRASH_POINT("log: log record dropped");
  dropRemovedBy(record);
}

void EntryLogCore::dropRemovedBy(LogRecord const& record) {
  Unit* const unit = mountedUnit(record.unitId);
  if (unit == nullptr) {
    VEX_TRACE(trace_, 3, " configShoal not found for unitId: {}", record.unitId);
    return;
  }
  auto const drop = [&](Key const& key) {
    unit->config->swTableEntriesDel(key);
    unit->unmarkKey(key);
  };
  // The version that a removal stamps on a configuration record is that operation's alone: equality decides.
  if (record.isEntryDeleted()) {
    Key const key = record.logEntry.key;
    if (Shoal::recordOrDefault(unit->entries(), key).logVersion != record.version()) return;
    drop(key);
    LOAM_CRASH_POINT("log: removed record dropped");
  } else if (record.isTableDeleted()) {
    VEX_TRACE(trace_, 3, " deleteing all entries for unitId: {}", record.unitId);
    Shoal::forEach(unit->entries(), [&](ConfigRecord const& marked) {
      if (marked.logVersion != record.version()) return;
      drop(marked.key());
      LOAM_CRASH_POINT("log: cleared record dropped");
    });
  }
}

// How far the log is cleaned, in every configuration that agrees with it and then in the log.
void EntryLogCore::noteCleaned(Asic::LogVersion upTo) {
  std::uint64_t const cleaned = std::min(upTo, tableVersion()).value();
  if (cleaned <= logControl().watermark()) return;
  for (auto const& [unitId, unit] : units_) {
    if (agrees(unit) && unit.control().watermark() < cleaned) unit.control().watermarkIs(cleaned);
  }
  LOAM_CRASH_POINT("log: clean-up noted in the configurations");
  logControl().watermarkIs(cleaned);
  LOAM_CRASH_POINT("log: clean-up noted in the log");
}

}  // namespace LoamInLif
