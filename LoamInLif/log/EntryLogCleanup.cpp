// Clean-up: what the hardware has taken leaves the change log, and with it what removals had marked leaves
// the configurations. A log record is always out of the log before the configuration is touched: a process
// killed in between leaves marked records that the next mount of the unit drops. Before either, how far the log
// is cleaned is noted in every configuration and then in the log: by it the next life knows a configuration, and the
// writer of the hardware an image, that missed what the log does not tell any more.
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogWalk.h"
#include "Shoal/CrashPoint.h"

namespace LoamInLif {

void EntryLogCore::cleanup(Asic::LogVersion upTo) {
  VEX_TRACE(trace_, 8, " version {}", upTo);
  Asic::LogVersion const cleaned = log_.cleanedVersion();
  if (cleaned > upTo) {
    log_.cleanedVersionIs(upTo);
    return;
  }
  cleanedNote(upTo);
  if (cleaned != Asic::LogVersion()) {
    for (std::uint64_t version = cleaned.value();; ++version) {
      logRecordClean(Asic::LogVersion(version));
      if (version == upTo.value()) break;
    }
  } else {
    // The first clean-up of this run does not know where the log begins.
    recordsWalk(shoal_->entryLogConfig(), [&](LogRecord const& record) {
      if (record.version() <= upTo) logRecordClean(record);
    });
  }
  log_.cleanedVersionIs(upTo);
  for (Asic::UnitId const unitId : late_) {
    if (ConfigShoal* const config = configOf_(log_, unitId)) markedTakenDrop(*config, unitId, upTo);
  }
  // A report comes in steps, the first of them with the version that a unit was mounted with.
  if (upTo.value() >= shoal_->collectionControl().watermark()) late_.clear();
  repairsRedo();
}

void EntryLogCore::logRecordClean(Asic::LogVersion version) {
  bool found = false;
  LogRecord const& record = recordRead(shoal_->entryLogConfig(), version, &found);
  if (found) logRecordClean(record);
}

void EntryLogCore::logRecordClean(LogRecord const& inLog) {
  LogRecord const record = inLog;
  // The needs first: the hardware has taken the record, and needs without a record would stay for ever.
  log_.groupInterface()->logEntryDel(log_.tableId(), record.version());
  LOAM_CRASH_POINT("log: needs dropped");
  shoal_->entryLogConfigDel(record.version());
  LOAM_CRASH_POINT("log: log record dropped");
  recordStep(record);
}

void EntryLogCore::recordStep(LogRecord const& record) {
  ConfigShoal* const config = configOf_(log_, record.unitId);
  if (config == nullptr) {
    VEX_TRACE(trace_, 3, " configShoal not found for unitId: {}", record.unitId);
    return;
  }
  // The version that a removal stamps on a configuration record is that operation's alone: equality decides.
  if (record.isEntryDeleted()) {
    Key const key = record.logEntry.key;
    if (recordRead(config->swTableEntries(), key).logVersion != record.version()) return;
    config->swTableEntriesDel(key);
    keyUnmarked(record.unitId, key);
    LOAM_CRASH_POINT("log: removed record dropped");
  } else if (record.isTableDeleted()) {
    VEX_TRACE(trace_, 3, " deleteing all entries for unitId: {}", record.unitId);
    recordsWalk(config->swTableEntries(), [&](ConfigRecord const& marked) {
      if (marked.logVersion != record.version()) return;
      Key const key = marked.key();
      config->swTableEntriesDel(key);
      keyUnmarked(record.unitId, key);
      LOAM_CRASH_POINT("log: cleared record dropped");
    });
  }
}

}  // namespace LoamInLif
