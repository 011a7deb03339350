// What a new run does with what a dead one left: the standing intent, a lost change log, a unit that does not
// agree with the log. The repair of a unit and the settling of an intent are made of publications, or of
// steps that may be repeated, so a death within them is settled by the same rules.
#include <algorithm>
#include <cstring>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "LoamInLif/EntryLogCore.h"
#include "LoamInLif/EntryLogWalk.h"
#include "LoamTunnelNiLib/InLifImage.h"
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

/// The version up to which the image of the hardware has applied; 0 without an image that can be read.
Asic::LogVersion imageApplied(Pivot::String const& imagePath) {
  auto const image = Shoal::ShoalReader<LoamTunnelNiLib::InLifImageEntry>::open(imagePath);
  VEX_ASSERT_MSG(image.state != Shoal::OpenState::unavailable, "the image can be opened when a log is", "{}",
                 image.message);
  if (image.state != Shoal::OpenState::ok) return Asic::LogVersion();
  try {
    return Asic::LogVersion(image.reader->scratchpad());
  } catch (Pivot::CorruptionDetectedException const&) {
    return Asic::LogVersion();  // the writer finds the damage too, and rebuilds its image
  }
}

/// Drops the needed versions whose log record was lost: no clean-up would ever come by them. Needs are written
/// after their record and dropped before it, so at an opening none is without one but after a loss.
void needsWithoutRecordDrop(
    Asic::GroupInterface& group, Asic::SwTableId tableId,
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
  } catch (Pivot::CorruptionDetectedException const&) {
    // The group, whose collection it is, reports the damage when it comes by.
  }
}

}  // namespace

Asic::LogVersion EntryLogCore::versionTakeUp(bool lost, Pivot::String const& imagePath) {
  needsWithoutRecordDrop(*log_.groupInterface(), log_.tableId(), shoal_->entryLogConfig());
  auto& control = shoal_->collectionControl();
  if (control.scratchpad() != 0) return Asic::LogVersion(control.scratchpad());
  // Nothing was ever written to this log. If the table was nevertheless reported, announced or applied at a
  // version, an earlier log was lost; this is asked of the others, not of the mark of the loss, which a run
  // that died right here would have cleared.
  auto& group = *log_.groupInterface();
  Asic::LogVersion const highest =
      std::max({group.tableVersionMap().reportedVersion(log_.tableId()),
                group.announcedVersion(log_.tableId()), imageApplied(imagePath)});
  if (lost || highest != Asic::LogVersion()) control.scratchpadIs(highest.value() + 1);
  return Asic::LogVersion(control.scratchpad());
}

void EntryLogCore::announce() {
  log_.groupInterface()->announce(log_.tableId(), log_.tableVersion());
  LOAM_CRASH_POINT("log: announced");
}

void EntryLogCore::unitOpen(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion taken) {
  markedKeys(config, unitId);  // looked through once here, where a pass is expected
  auto& control = config.collectionControl();
  std::uint64_t const present = shoal_->collectionControl().incarnation();
  if (control.agreesWith() != present) {
    if (control.isNew()) {
      control.agreesWithIs(present);
    } else {
      repairs_.insert(unitId);
      repairRedo(config, unitId);
    }
  }
  markedTakenDrop(config, unitId, taken);
}

bool EntryLogCore::repairRedo(ConfigShoal& config, Asic::UnitId unitId) {
  if (!repairStands(unitId)) return true;
  std::uint32_t const records = config.swTableEntries().size() + 1 + recordsOf(Asker::operation);
  if (Pivot::Status const room = shoal_->entryLogConfig().reserve(records); !room) {
    VEX_TRACE(trace_, 1, " unitId: {} is published anew only when there is room: {}", unitId, room.message());
    return false;
  }
  repairs_.erase(unitId);
  if (unitRepair(config, unitId)) {
    config.collectionControl().agreesWithIs(shoal_->collectionControl().incarnation());
    LOAM_CRASH_POINT("log: unit agrees again");
  } else {
    VEX_TRACE(trace_, 1, " unitId: {} does not agree with the log: damage ended the walk over its records",
              unitId);
  }
  return true;
}

// Returns whether every record was reached. One that damage hides was not published, so a unit that has some does
// not agree; the next opening of its configuration gives up what is damaged, and repairs it once more.
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
