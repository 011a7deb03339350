// What a new run makes of files that look whole each by itself and do not fit together: older copies that were put
// back, what outlived the kernel, one side of the store that is new beside the other. A log that somebody remembers
// further than it goes is lost; a configuration that missed a clean-up, or lacks the last record that the log has of
// its unit, agrees with no log. docs/protocol.md argues why this is enough.
//
// All of it is decided before anything is published or cleaned. What was found is marked before the evidence for it
// changes: a death in between leaves the mark or the evidence.
#include <fmt/format.h>

#include <algorithm>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ReportedReads.h"
#include "Shoal/ShoalReader.h"
#include "Vex/Assert.h"

namespace LoamInLif {
namespace {

using ImageReader = Shoal::ShoalReader<LoamTunnelNiLib::InLifImageEntry>;
// A hundred times what the owner of a collection needs for a change.
constexpr int kSteps = 1000;

using NeededReader = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>;

// Calls read(reader) on a collection as those beside its owner see it. One that is missing or damaged tells nothing;
// its owner finds the damage too, and makes up for it. REQUIRES: it can be opened if it is there; descriptors and
// memory are not out, since what is not seen would let a version be issued twice.
template <class Reader, class Read>
void readBeside(Vex::TraceHandle const& trace, Pivot::String const& path, Read read) {
  auto const opened = Reader::open(path);
  VEX_ASSERT_MSG(opened.state != Shoal::OpenState::unavailable,
                 "what tells of a log can be opened when the log is", "{}", opened.message);
  if (opened.state != Shoal::OpenState::ok) return;
  try {
    read(*opened.reader);
  } catch (Pivot::CorruptionDetectedException const& damage) {
    VEX_TRACE(trace, 1, "what '{}' says of the log is damaged: {}", path, damage.what());
  }
}

// Busy, since its owner lives, is neither the end nor damage.
template <class Reader, class Visit>
void walkRows(Reader& reader, Visit visit) {
  auto const end = Shoal::forEach(reader, kSteps, visit);
  VEX_ASSERT(end != Shoal::ReadResult::busy, "what tells of a log can be read when the log is opened");
}

// The highest version in the configuration of an intent's unit beside what the intent itself has written there.
std::uint64_t highestBeside(EntryLogIntent const& intent, EntryLogCore::ConfigShoal& config) {
  std::uint64_t highest = 0;
  Shoal::forEach(config.swTableEntries(), [&](EntryLogCore::ConfigRecord const& record) {
    bool const isOfKind = intent.kind == IntentKind::tableDelete
                              ? record.isDeleted != 0
                              : intent.kind != IntentKind::repairDelete && record.key().value() == intent.key;
    if (isOfKind && record.logVersion.value() == intent.version) return;
    highest = std::max(highest, record.logVersion.value());
  });
  return highest;
}

}  // namespace

// --- the log ---

EntryLogCore::Evidence EntryLogCore::evidenceOf() const {
  auto& group = *groupInterface();
  Evidence evidence;
  evidence.announced = group.announcedVersion(tableId()).value();
  evidence.reported = group.tableVersionMap().reportedVersion(tableId()).value();
  readBeside<ImageReader>(trace_, names_.imagePath(), [&](ImageReader& image) {
    evidence.applied = image.scratchpad();
    evidence.applied = std::max(evidence.applied, image.watermark());
  });
  readBeside<NeededReader>(trace_, Asic::Constants::canonicalGroupNeededShoalPath(group.name()),
                           [&](NeededReader& needed) {
                             walkRows(needed, [&](Asic::NeededRow const& row) {
                               for (Asic::TableVersion const& need : row.needs)
                                 if (need.tableId() == tableId())
                                   evidence.needed = std::max(evidence.needed, need.logVersion().value());
                             });
                           });
  for (auto const& [unitId, unit] : units_)
    evidence.carried = std::max(evidence.carried, unit.lookThrough().highest.value());
  return evidence;
}

// Gives the log up, so that it is a lost one, if it came back older or from another boot.
void EntryLogCore::giveUpOldLog(Evidence& evidence) {
  evidence = evidenceOf();
  // A configuration may hold the version under way, since its record comes first.
  auto const intent = standingIntent();
  std::uint64_t carried = 0, noted = 0;
  for (auto const& [unitId, unit] : units_) {
    bool const isUnderWay = intent && intent->unitId == unitId;
    carried = std::max(
        carried, isUnderWay ? highestBeside(*intent, *unit.config) : unit.lookThrough().highest.value());
    noted = std::max(noted, unit.control().watermark());
  }
  evidence.carried = std::max(evidence.carried, noted);
  auto const& control = logControl();
  // A new one, or one that was given up by a run that died before it counted on.
  if (control.isMadeNow() || (control.wiped() && control.scratchpad() == 0)) return;
  std::uint64_t const written = control.scratchpad();
  std::uint64_t const begun = intentStands() && !intent ? written + 1 : written;
  std::string why;
  auto const above = [&](char const* what, std::uint64_t version, std::uint64_t most) {
    if (version > most && why.empty())
      why = fmt::format("it came back older: it was written up to version {}, and {} is {}", written, what,
                        version);
  };
  if (control.isOfAnotherBoot()) why = "it is of another boot of the kernel";
  above("announced", evidence.announced, written);
  above("reported", evidence.reported, written);
  above("applied", evidence.applied, written);
  above("needed by another table", evidence.needed, written);
  above("in a configuration", carried, begun);
  above("noted as cleaned in a configuration", noted, written);
  if (why.empty()) return;
  Pivot::Status const status = log().giveUp(why);
  VEX_ASSERT_MSG(status.isOk(), "a log that is not to be believed is made anew", "{}", status.message());
}

// --- the units ---

// The log was lost, whole or in part: what the lost records had told only the configurations know.
void EntryLogCore::unitsDisagree() {
  for (auto const& [unitId, unit] : units_) {
    unit.control().agreesWithIs(0);
    LOAM_CRASH_POINT("log: unit disagrees");
  }
}

EntryLogCore::LastRecords EntryLogCore::lastRecords() {
  LastRecords last;
  Shoal::forEach(log(), [&](LogRecord const& record) {
    auto const [at, isFirst] = last.try_emplace(record.unitId, record);
    if (!isFirst && at->second.logVersion < record.logVersion) at->second = record;
  });
  return last;
}

// Units that are known and have no configuration: by the records of the log, and by the image if the log is new or
// the store's list of collections was lost.
std::set<Asic::UnitId> EntryLogCore::unitsToldOf(LastRecords const& last, bool listIsWhole) {
  std::set<Asic::UnitId> units;
  for (auto const& [unitId, record] : last) units.insert(unitId);
  // Otherwise each unit that the image knows has a configuration, or had one that the store knows to be lost.
  if (!listIsWhole || logControl().scratchpad() == 0) {
    readBeside<ImageReader>(trace_, names_.imagePath(), [&](ImageReader& image) {
      walkRows(image, [&](auto const& entry) { units.insert(entry.key.unitId); });
    });
  }
  std::erase_if(units, [&](Asic::UnitId unitId) { return units_.contains(unitId); });
  return units;
}

// The version from which this run counts on: the scratchpad. After a loss of the whole log one above anything that
// this table is known to have issued.
Asic::LogVersion EntryLogCore::takeUpVersion(bool lost, Evidence const& evidence) {
  dropNeedsWithoutRecord();
  auto& control = logControl();
  if (control.scratchpad() != 0) return Asic::LogVersion(control.scratchpad());
  // Nothing was ever written to this log. If others nevertheless remember a version of it, an earlier log was lost;
  // this is asked of the others, not of the mark of the loss, which a run that died right here would have cleared.
  if (lost || evidence.highest() != 0) {
    // What was published up to there is gone from the log, as if it had been cleaned.
    control.watermarkIs(evidence.highest());
    LOAM_CRASH_POINT("log: new log knows what is gone");
    control.scratchpadIs(evidence.highest() + 1);
    LOAM_CRASH_POINT("log: new log counts on");
  }
  return Asic::LogVersion(control.scratchpad());
}

void EntryLogCore::announce() {
  groupInterface()->announce(tableId(), tableVersion());
  LOAM_CRASH_POINT("log: announced");
}

// Marks the configurations that came back older, or from another boot.
void EntryLogCore::lookAtConfigs(LastRecords const& last) {
  for (auto const& [unitId, unit] : units_) {
    auto& control = unit.control();
    if (agrees(unit) && isOld(unit, last)) {
      control.notePartLost();
      LOAM_CRASH_POINT("log: older configuration marked");
    }
    if (!control.isOfAnotherBoot()) continue;
    VEX_TRACE(trace_, 1,
              " unitId: {} is of another boot of the kernel: its entries stand, and are published anew",
              unitId);
    control.agreesWithIs(0);
    LOAM_CRASH_POINT("log: unit of another boot disagrees");
    control.notePresentBoot();
  }
}

bool EntryLogCore::isOld(Unit const& unit, LastRecords const& last) {
  std::uint64_t const cleaned = logControl().watermark();
  std::uint64_t const known = unit.control().watermark();
  if (known < cleaned) {
    VEX_TRACE(trace_, 1, " unitId: {} came back older: the log is cleaned up to {}, it knows of {}", unit.id,
              cleaned, known);
    return true;
  }
  auto const at = last.find(unit.id);
  if (at == last.end() || at->second.logVersion.value() <= known || holds(unit, at->second)) return false;
  VEX_TRACE(trace_, 1, " unitId: {} came back older: it does not have version {}, which stands in the log",
            unit.id, at->second.logVersion);
  return true;
}

bool EntryLogCore::holds(Unit const& unit, LogRecord const& record) {
  if (!record.isTableDeleted()) {
    ConfigRecord const& found = Shoal::recordOrDefault(unit.entries(), record.logEntry.key);
    return found.logVersion == record.logVersion && (found.isDeleted != 0) == record.isEntryDeleted();
  }
  bool isEmptied = true;
  Shoal::forEach(unit.entries(), [&](ConfigRecord const& found) {
    isEmptied = isEmptied && (found.isDeleted != 0 || found.logVersion > record.logVersion);
  });
  return isEmptied;
}

bool EntryLogCore::agrees(Unit const& unit) const {
  return unit.control().agreesWith() == logControl().incarnation();
}

// How far it agrees comes first: a configuration that agrees is held to that, and so is the log, if one of the two comes
// back older. What emptied the unit leaves no other trace.
void EntryLogCore::agreesIs(Unit& unit) {
  unit.control().watermarkIs(tableVersion().value());
  LOAM_CRASH_POINT("log: unit knows how far it agrees");
  unit.control().agreesWithIs(logControl().incarnation());
  LOAM_CRASH_POINT("log: unit agrees");
}

}  // namespace LoamInLif
