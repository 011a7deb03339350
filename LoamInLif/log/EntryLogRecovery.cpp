// What a new run does with what a dead one left: the standing intent, a lost change log, a unit that does not
// agree with the log; and what a run does that meets damage. The repair of a unit and the settling of an intent
// are made of publications, or of steps that may be repeated, so a death within them is settled by the same rules.
#include <algorithm>
#include <cstring>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogWalk.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ShoalReader.h"
#include "Vex/Assert.h"

namespace LoamInLif {

bool EntryLogCore::intentStands() const {
  return !shoal_->collectionControl().intent().empty();
}

std::optional<EntryLogIntent> EntryLogCore::standingIntent() const {
  auto const bytes = shoal_->collectionControl().intent();
  EntryLogIntent intent{};
  if (bytes.size() < offsetof(EntryLogIntent, needed) || bytes.size() > sizeof(intent)) return std::nullopt;
  std::memcpy(&intent, bytes.data(), bytes.size());
  bool const isKnown = intent.kind >= IntentKind::write && intent.kind <= IntentKind::repairDelete &&
                       intent.neededCount <= EntryLogIntent::maxNeeded && intent.size() == bytes.size();
  return isKnown ? std::optional(intent) : std::nullopt;
}

// The version that it took may stand somewhere, and no other may get it.
void EntryLogCore::intentGiveUp() {
  auto& control = shoal_->collectionControl();
  VEX_TRACE(
      trace_, 1,
      " An earlier run died while publishing a version above {}, and its note of {} bytes cannot be read: "
      "every unit is published anew",
      control.scratchpad(), control.intent().size());
  unitsDisagree();
  control.scratchpadIs(control.scratchpad() + 1);
  LOAM_CRASH_POINT("log: version of an unknown intent passed");
  control.intentClear();
}

EntryLogCore::NeededPtr EntryLogCore::neededOf(EntryLogIntent const& intent) {
  if (intent.neededCount == 0) return nullptr;
  auto needed = Pivot::make<Asic::NeededEntry>();
  for (std::size_t i = 0; i < intent.neededCount; ++i) {
    needed->add(Asic::TableVersion(Asic::SwTableId(intent.needed[i].tableId),
                                   Asic::LogVersion(intent.needed[i].version)));
  }
  return needed;
}

bool EntryLogCore::carries(ConfigShoal& config, EntryLogIntent const& intent) {
  Asic::LogVersion const version(intent.version);
  if (intent.kind == IntentKind::repairDelete) return false;
  if (intent.kind != IntentKind::tableDelete) {
    return recordRead(config.swTableEntries(), Key(intent.key)).logVersion == version;
  }
  bool hit = false;
  recordsWalk(config.swTableEntries(),
              [&](ConfigRecord const& record) { hit = hit || record.logVersion == version; });
  return hit;
}

void EntryLogCore::intentSettle(EntryLogIntent const& intent, ConfigShoal& config) {
  Asic::LogVersion const version(intent.version);
  bool const logged = recordHas(shoal_->entryLogConfig(), version);
  bool const visible = logged || carries(config, intent);
  VEX_TRACE(trace_, 2, " An earlier run died while publishing version: {} of unitId: {}: {}", version,
            intent.unitId, visible ? "it is finished" : "nothing of it was visible");
  if (visible) intentFinish(intent, config, logged);
  shoal_->collectionControl().intentClear();
  LOAM_CRASH_POINT("log: intent settled");
}

void EntryLogCore::intentFinish(EntryLogIntent const& intent, ConfigShoal& config, bool logged) {
  Asic::LogVersion const version(intent.version);
  if (intent.kind == IntentKind::tableDelete) liveRecordsMark(config, intent.unitId, version);
  if (!logged) {
    // The dead run had reserved the space; without it the log cannot be brought in order.
    Pivot::Status const room = logRoom(1);
    VEX_ASSERT_MSG(room.isOk(), "room for a record that was begun", "{}", room.message());
    switch (intent.kind) {
      case IntentKind::write:
      case IntentKind::removal: {
        ConfigRecord const record = recordRead(config.swTableEntries(), Key(intent.key));
        logRecordIs(logRecord(version, record.tableEntry, intent.unitId,
                              intent.kind == IntentKind::removal ? LogRecord::kIsEntryDeleted : 0));
        break;
      }
      default:
        logRecordIs(logRecord(version, LogEntry(), intent.unitId, LogRecord::kIsTableDeleted));
    }
  }
  shoal_->collectionControl().scratchpadIs(version.value());
  LOAM_CRASH_POINT("log: scratchpad of a settled intent");
  log_.groupInterface()->addLogEntry(log_.tableId(), version, neededOf(intent));
  LOAM_CRASH_POINT("log: group told of a settled intent");
}

namespace {

/// Drops the needed versions whose log record was lost: no clean-up would ever come by them. Needs are written
/// after their record and dropped before it, so at an opening none is without one but after a loss.
void needsWithoutRecordDrop(
    Vex::TraceHandle const& trace, Asic::GroupInterface& group, Asic::SwTableId tableId,
    Shoal::ShoalMap<LoamTunnelNiLib::InLifModelLogShoalEntry, Asic::LogVersion>& log) {
  auto const needed = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>::open(
      Asic::Constants::canonicalGroupNeededShoalPath(group.name()));
  if (needed.state != Shoal::OpenState::ok) return;
  try {
    Asic::NeededRow row;
    for (auto more = needed.reader->first(row); more == Shoal::ReadResult::found;
         more = needed.reader->next(row.key, row)) {
      Asic::LogVersion const version(row.key.value() & 0xFFFFFFFFFFFF);
      if (row.key != Asic::NeededKey(tableId, version) || recordHas(log, version)) continue;
      group.logEntryDel(tableId, version);
      LOAM_CRASH_POINT("log: needs without a record dropped");
    }
  } catch (Pivot::CorruptionDetectedException const& damage) {
    VEX_TRACE(trace, 1, "needed versions are damaged, which may stay without a record: {}", damage.what());
    ++group.damageCounter();
  }
}

}  // namespace

Asic::LogVersion EntryLogCore::versionTakeUp(bool lost) {
  needsWithoutRecordDrop(trace_, *log_.groupInterface(), log_.tableId(), shoal_->entryLogConfig());
  auto& control = shoal_->collectionControl();
  if (control.scratchpad() != 0) return Asic::LogVersion(control.scratchpad());
  // Nothing was ever written to this log. If others nevertheless remember a version of it, an earlier log was lost;
  // this is asked of the others, not of the mark of the loss, which a run that died right here would have cleared.
  if (lost || evidence_.highest() != 0) {
    // What was published up to there is gone from the log, as if it had been cleaned.
    control.watermarkIs(evidence_.highest());
    LOAM_CRASH_POINT("log: new log knows what is gone");
    control.scratchpadIs(evidence_.highest() + 1);
    LOAM_CRASH_POINT("log: new log counts on");
  }
  return Asic::LogVersion(control.scratchpad());
}

void EntryLogCore::announce() {
  log_.groupInterface()->announce(log_.tableId(), log_.tableVersion());
  LOAM_CRASH_POINT("log: announced");
}

void EntryLogCore::unitOpen(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion taken) {
  lookThrough(config, unitId);  // once here at the latest, where a pass is expected
  bool const wasStored = stored_.contains(unitId);
  configIs(config, unitId);
  auto& control = config.collectionControl();
  auto const& log = shoal_->collectionControl();
  // One that could not be mounted when the log was opened has missed the clean-ups since.
  bool const missedCleanUps = !wasStored && control.watermark() < log.watermark();
  if (!agrees(config) && control.isNew() && !stored_[unitId].isToldOf) {
    agreesIs(config);
  } else if (!agrees(config) || missedCleanUps) {
    repairs_.insert(unitId);
    repairsRedo();
  }
  if (taken.value() < log.watermark()) late_.insert(unitId);
  markedTakenDrop(config, unitId, taken);
}

bool EntryLogCore::agrees(ConfigShoal& config) const {
  return config.collectionControl().agreesWith() == shoal_->collectionControl().incarnation();
}

// How far it agrees comes first: a configuration that agrees is held to that, and so is the log, if one of the two comes
// back older. What emptied the unit leaves no other trace.
void EntryLogCore::agreesIs(ConfigShoal& config) {
  config.collectionControl().watermarkIs(log_.tableVersion().value());
  LOAM_CRASH_POINT("log: unit knows how far it agrees");
  config.collectionControl().agreesWithIs(shoal_->collectionControl().incarnation());
  LOAM_CRASH_POINT("log: unit agrees");
}

void EntryLogCore::toldOfIs(ConfigShoal& config, Asic::UnitId unitId) {
  configIs(config, unitId);
  stored_[unitId].isToldOf = true;
}

// The mark of a loss tells of all that was lost since it was cleared, here or in an operation before.
EntryLogCore::Lost EntryLogCore::mend() {
  Lost lost;
  shoal_->entryLogConfig().mend();
  lost.log = shoal_->collectionControl().wiped();
  // The hardware may not have taken what was lost.
  if (lost.log) unitsDisagree();
  needsWithoutRecordDrop(trace_, *log_.groupInterface(), log_.tableId(), shoal_->entryLogConfig());
  for (auto const& [unitId, stored] : stored_) {
    stored.config->swTableEntries().mend();
    if (stored.config->collectionControl().wiped()) lost.units.push_back(unitId);
  }
  for (auto const& [unitId, stored] : stored_) {
    if (configOf_(log_, unitId) != stored.config || agrees(*stored.config)) continue;
    repairs_.insert(unitId);
  }
  repairsRedo();
  return lost;
}

// What finds no room now is tried again after each clean-up, and when the resolver tries again what was set aside.
void EntryLogCore::repairsRedo() {
  for (Asic::UnitId const unitId : std::set(repairs_)) {
    if (auto const unit = stored_.find(unitId); unit != stored_.end())
      repairRedo(*unit->second.config, unitId);
  }
  if (!repairs_.empty()) log_.groupInterface()->groupResolver()->retryIs(redo_);
}

void EntryLogCore::repairRedo(ConfigShoal& config, Asic::UnitId unitId) {
  std::uint32_t const records = config.swTableEntries().size() + 1 + recordsOf(Asker::operation);
  if (Pivot::Status const room = shoal_->entryLogConfig().reserve(records); !room) {
    VEX_TRACE(trace_, 1, " unitId: {} is published anew only when there is room: {}", unitId, room.message());
    return;
  }
  repairs_.erase(unitId);
  if (unitRepair(config, unitId)) {
    agreesIs(config);
  } else {
    VEX_TRACE(trace_, 1, " unitId: {} does not agree with the log: damage ended the walk over its records",
              unitId);
  }
}

// Returns whether every record was reached. One that damage hides was not published, so a unit that has some does
// not agree; what is damaged is given up when the group mends or the configuration is opened next, and the unit is
// published once more.
bool EntryLogCore::unitRepair(ConfigShoal& config, Asic::UnitId unitId) {
  VEX_TRACE(trace_, 1,
            " unitId: {} does not agree with the log after a loss: {} records are published anew, without "
            "needed versions",
            unitId, config.swTableEntries().size());
  Asic::LogVersion const opening = publicationBegin(IntentKind::repairDelete, unitId, Key(), nullptr);
  logRecordIs(logRecord(opening, LogEntry(), unitId, LogRecord::kIsTableDeleted));
  publicationEnd(opening, nullptr);
  return recordsWalk(config.swTableEntries(), [&](ConfigRecord const& record) {
    Key const key = record.key();
    if (record.isDeleted != 0) {
      config.swTableEntriesDel(key);
      keyUnmarked(unitId, key);
      LOAM_CRASH_POINT("log: record dropped in a repair");
      return;
    }
    ConfigRecord const live = record;
    Asic::LogVersion const version = publicationBegin(IntentKind::write, unitId, key, nullptr);
    writePublish(config, live.tableEntry, live.rsrcKeys, nullptr, unitId, version);
  });
}

void EntryLogCore::markedTakenDrop(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion taken) {
  if (taken == Asic::LogVersion()) return;
  // Noted before they go, as a clean-up is: their log records are gone, or may go any time.
  auto& control = config.collectionControl();
  std::uint64_t const known = std::min(taken, log_.tableVersion()).value();
  if (control.watermark() < known) control.watermarkIs(known);
  LOAM_CRASH_POINT("log: taken version noted");
  auto const marked = markedKeys(config, unitId);  // a copy: each record that goes is unmarked
  for (std::uint32_t const value : marked) {
    Key const key(value);
    bool found = false;
    if (recordRead(config.swTableEntries(), key, &found).logVersion > taken || !found) continue;
    config.swTableEntriesDel(key);
    keyUnmarked(unitId, key);
    LOAM_CRASH_POINT("log: taken record dropped");
  }
}

}  // namespace LoamInLif
