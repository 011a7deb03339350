// What a new run does with what a dead one left: the standing intent, a lost change log, a unit that does not
// agree with the log; and what a run does that meets damage. The repair of a unit and the settling of an intent
// are made of publications, or of steps that may be repeated, so a death within them is settled by the same rules.
#include <algorithm>
#include <cstring>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ReportedReads.h"
#include "Shoal/ShoalReader.h"
#include "Vex/Assert.h"

namespace LoamInLif {

bool EntryLogCore::intentStands() const {
  return !logControl().intent().empty();
}

std::optional<EntryLogIntent> EntryLogCore::standingIntent() const {
  auto const bytes = logControl().intent();
  EntryLogIntent intent{};
  if (bytes.size() < offsetof(EntryLogIntent, needed) || bytes.size() > sizeof(intent)) return std::nullopt;
  std::memcpy(&intent, bytes.data(), bytes.size());
  bool const isKnown = intent.kind >= IntentKind::write && intent.kind <= IntentKind::repairDelete &&
                       intent.neededCount <= EntryLogIntent::maxNeeded && intent.size() == bytes.size();
  return isKnown ? std::optional(intent) : std::nullopt;
}

// The version that it took may stand somewhere, and no other may get it.
void EntryLogCore::giveUpIntent() {
  auto& control = logControl();
  VEX_TRACE(
      trace_, 1,
      " An earlier run died while publishing a version above {}, and its note of {} bytes cannot be read: "
      "every unit is published anew",
      control.scratchpad(), control.intent().size());
  unitsDisagree();
  control.scratchpadIs(control.scratchpad() + 1);
  LOAM_CRASH_POINT("log: version of an unknown intent passed");
  control.clearIntent();
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

bool EntryLogCore::carries(Unit const& unit, EntryLogIntent const& intent) {
  Asic::LogVersion const version(intent.version);
  if (intent.kind == IntentKind::repairDelete) return false;
  if (intent.kind != IntentKind::tableDelete) {
    return Shoal::recordOrDefault(unit.entries(), Key(intent.key)).logVersion == version;
  }
  bool hit = false;
  Shoal::forEach(unit.entries(),
                 [&](ConfigRecord const& record) { hit = hit || record.logVersion == version; });
  return hit;
}

void EntryLogCore::takeUpIntent() {
  if (auto const intent = standingIntent()) {
    // Opened for the settling alone: the unit is not mounted by it.
    bool const isKnown = units_.contains(intent->unitId);
    Unit& of = storedIs(intent->unitId, mountConfig(intent->unitId));
    of.isToldOf = !isKnown;
    settleIntent(*intent, of);
  } else if (intentStands()) {
    giveUpIntent();
  }
}

// Finishes or drops a standing intent. Each step may be repeated.
void EntryLogCore::settleIntent(EntryLogIntent const& intent, Unit& unit) {
  Asic::LogVersion const version(intent.version);
  bool const logged = Shoal::holds(log(), version);
  bool const visible = logged || carries(unit, intent);
  VEX_TRACE(trace_, 2, " An earlier run died while publishing version: {} of unitId: {}: {}", version,
            intent.unitId, visible ? "it is finished" : "nothing of it was visible");
  if (visible) finishIntent(intent, unit, logged);
  logControl().clearIntent();
  LOAM_CRASH_POINT("log: intent settled");
}

void EntryLogCore::finishIntent(EntryLogIntent const& intent, Unit& unit, bool logged) {
  Asic::LogVersion const version(intent.version);
  if (intent.kind == IntentKind::tableDelete) markLiveRecords(unit, version);
  if (!logged) {
    // The dead run had reserved the space; without it the log cannot be brought in order.
    Pivot::Status const room = logRoom(1);
    VEX_ASSERT_MSG(room.isOk(), "room for a record that was begun", "{}", room.message());
    switch (intent.kind) {
      case IntentKind::write:
      case IntentKind::removal: {
        ConfigRecord const record = Shoal::recordOrDefault(unit.entries(), Key(intent.key));
        logRecordIs(logRecord(version, record.tableEntry, intent.unitId,
                              intent.kind == IntentKind::removal ? LogRecord::kIsEntryDeleted : 0));
        break;
      }
      default:
        logRecordIs(logRecord(version, LogEntry(), intent.unitId, LogRecord::kIsTableDeleted));
    }
  }
  logControl().scratchpadIs(version.value());
  LOAM_CRASH_POINT("log: scratchpad of a settled intent");
  groupInterface()->addLogEntry(tableId(), version, neededOf(intent));
  LOAM_CRASH_POINT("log: group told of a settled intent");
}

// --- losses ---

// Drops the needed versions whose log record was lost: no clean-up would ever come by them. Needs are written
// after their record and dropped before it, so at an opening none is without one but after a loss.
void EntryLogCore::dropNeedsWithoutRecord() {
  auto& group = *groupInterface();
  auto const needed = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>::open(
      Asic::Constants::canonicalGroupNeededShoalPath(group.name()));
  if (needed.state != Shoal::OpenState::ok) return;
  try {
    Shoal::forEach(*needed.reader, 1, [&](Asic::NeededRow const& row) {
      Asic::LogVersion const version(row.key.value() & 0xFFFFFFFFFFFF);
      if (row.key != Asic::NeededKey(tableId(), version) || Shoal::holds(log(), version)) return;
      group.announcement().logEntryDel(tableId(), version);
      LOAM_CRASH_POINT("log: needs without a record dropped");
    });
  } catch (Pivot::CorruptionDetectedException const& damage) {
    VEX_TRACE(trace_, 1, "needed versions are damaged, which may stay without a record: {}", damage.what());
    ++group.damageCounter();
  }
}

void EntryLogCore::openUnit(Asic::UnitId unitId, Asic::LogVersion taken) {
  Unit& of = unit(unitId);
  of.lookThrough();  // once here at the latest, where a pass is expected
  if (!agrees(of) && of.control().isNew() && !of.isToldOf) {
    agreesIs(of);
  } else if (!agrees(of) || of.missedCleanUps) {
    of.repairStands = true;
    redoRepairs();
  }
  of.missedCleanUps = false;
  if (taken.value() < logControl().watermark()) of.isLate = true;
  dropMarkedTaken(of, taken);
}

// What finds no room now is tried again after each clean-up, and when the resolver tries again what was set aside.
void EntryLogCore::redoRepairs() {
  bool isLeft = false;
  for (auto& [unitId, unit] : units_) {
    if (unit.repairStands) redoRepair(unit);
    isLeft = isLeft || unit.repairStands;
  }
  if (isLeft) groupInterface()->groupResolver()->retryIs(redo_);
}

void EntryLogCore::redoRepair(Unit& unit) {
  std::uint32_t const records = unit.entries().size() + 1 + recordsOf(Asker::operation);
  if (Pivot::Status const room = log().reserve(records); !room) {
    VEX_TRACE(trace_, 1, " unitId: {} is published anew only when there is room: {}", unit.id,
              room.message());
    return;
  }
  unit.repairStands = false;
  if (repairUnit(unit)) {
    agreesIs(unit);
  } else {
    VEX_TRACE(trace_, 1, " unitId: {} does not agree with the log: damage ended the walk over its records",
              unit.id);
  }
}

// Returns whether every record was reached. One that damage hides was not published, so a unit that has some does
// not agree; what is damaged is given up when the group mends or the configuration is opened next, and the unit is
// published once more.
bool EntryLogCore::repairUnit(Unit& unit) {
  VEX_TRACE(trace_, 1,
            " unitId: {} does not agree with the log after a loss: {} records are published anew, without "
            "needed versions",
            unit.id, unit.entries().size());
  Asic::LogVersion const opening = beginPublication(IntentKind::repairDelete, unit.id, Key(), nullptr);
  logRecordIs(logRecord(opening, LogEntry(), unit.id, LogRecord::kIsTableDeleted));
  endPublication(opening, nullptr);
  return Shoal::forEach(unit.entries(), [&](ConfigRecord const& record) {
    Key const key = record.key();
    if (record.isDeleted != 0) {
      unit.config->swTableEntriesDel(key);
      unit.unmarkKey(key);
      LOAM_CRASH_POINT("log: record dropped in a repair");
      return;
    }
    ConfigRecord const live = record;
    Asic::LogVersion const version = beginPublication(IntentKind::write, unit.id, key, nullptr);
    publishWrite(unit, live.tableEntry, live.rsrcKeys, nullptr, version);
  });
}

void EntryLogCore::dropMarkedTaken(Unit& unit, Asic::LogVersion taken) {
  if (taken == Asic::LogVersion()) return;
  // Noted before they go, as a clean-up is: their log records are gone, or may go any time.
  auto& control = unit.control();
  std::uint64_t const known = std::min(taken, tableVersion()).value();
  if (control.watermark() < known) control.watermarkIs(known);
  LOAM_CRASH_POINT("log: taken version noted");
  auto const marked = unit.markedKeys();  // a copy: each record that goes is unmarked
  for (std::uint32_t const value : marked) {
    Key const key(value);
    bool found = false;
    if (Shoal::recordOrDefault(unit.entries(), key, &found).logVersion > taken || !found) continue;
    unit.config->swTableEntriesDel(key);
    unit.unmarkKey(key);
    LOAM_CRASH_POINT("log: taken record dropped");
  }
}

}  // namespace LoamInLif
