// What a new run makes of files that look whole each by itself and do not fit together: older copies that were put
// back, what outlived the kernel, one side of the store that is new beside the other. A log that somebody remembers
// further than it goes is lost; a configuration that missed a clean-up, or lacks the last record that the log has of
// its unit, agrees with no log. docs/protocol.md argues why this is enough.
//
// All of it is decided before anything is published or cleaned, and what was found is marked before anything that it
// was found by changes: a death in between leaves the mark, or what led to it.
#include <fmt/format.h>

#include <algorithm>

#include "Asic/Constants.h"
#include "Asic/GroupShoal.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogWalk.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ShoalReader.h"
#include "Vex/Assert.h"

namespace LoamInLif {
namespace {

using ImageReader = Shoal::ShoalReader<LoamTunnelNiLib::InLifImageEntry>;
/// A hundred times what the owner of a collection needs for a change.
constexpr int kSteps = 1000;

using NeededReader = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>;

/// Calls read(reader) on a collection as those beside its owner see it. One that is missing or damaged tells nothing;
/// its owner finds the damage too, and makes up for it. REQUIRES: it can be opened if it is there; descriptors and
/// memory are not out, since what is not seen would let a version be issued twice.
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

/// Busy, since its owner lives, is neither the end nor damage.
template <class Step>
bool stepped(Step step) {
  auto result = Shoal::ReadResult::busy;
  for (int i = 0; i < kSteps && result == Shoal::ReadResult::busy; ++i) result = step();
  VEX_ASSERT(result != Shoal::ReadResult::busy, "what tells of a log can be read when the log is opened");
  return result == Shoal::ReadResult::found;
}

template <class Reader, class Record, class Visit>
void rowsWalk(Reader& reader, Record row, Visit visit) {
  for (bool more = stepped([&] { return reader.first(row); }); more;
       more = stepped([&] { return reader.next(Shoal::RecordTraits<Record>::key(row), row); })) {
    visit(row);
  }
}

/// The highest version in the configuration of an intent's unit beside what the intent itself has written there.
std::uint64_t highestBeside(EntryLogIntent const& intent, EntryLogCore::ConfigShoal& config) {
  std::uint64_t highest = 0;
  recordsWalk(config.swTableEntries(), [&](EntryLogCore::ConfigRecord const& record) {
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

EntryLogCore::Evidence EntryLogCore::evidenceOf(Pivot::String const& imagePath) const {
  auto& group = *log_.groupInterface();
  Evidence evidence;
  evidence.announced = group.announcedVersion(log_.tableId()).value();
  evidence.reported = group.tableVersionMap().reportedVersion(log_.tableId()).value();
  readBeside<ImageReader>(trace_, imagePath, [&](ImageReader& image) {
    evidence.applied = image.scratchpad();
    evidence.applied = std::max(evidence.applied, image.watermark());
  });
  readBeside<NeededReader>(trace_, Asic::Constants::canonicalGroupNeededShoalPath(group.name()),
                           [&](NeededReader& needed) {
                             rowsWalk(needed, Asic::NeededRow(), [&](Asic::NeededRow const& row) {
                               for (Asic::TableVersion const& need : row.needs)
                                 if (need.tableId() == log_.tableId())
                                   evidence.needed = std::max(evidence.needed, need.logVersion().value());
                             });
                           });
  for (auto const& [unitId, stored] : stored_)
    evidence.carried = std::max(evidence.carried, lookThrough(*stored.config, unitId).highest.value());
  return evidence;
}

void EntryLogCore::oldLogGiveUp(Pivot::String const& imagePath) {
  evidence_ = evidenceOf(imagePath);
  // A configuration may hold the version under way, since its record comes first.
  auto const intent = standingIntent();
  std::uint64_t carried = 0, noted = 0;
  for (auto const& [unitId, stored] : stored_) {
    bool const isUnderWay = intent && intent->unitId == unitId;
    carried = std::max(carried, isUnderWay ? highestBeside(*intent, *stored.config)
                                           : lookThrough(*stored.config, unitId).highest.value());
    noted = std::max(noted, stored.config->collectionControl().watermark());
  }
  evidence_.carried = std::max(evidence_.carried, noted);
  auto const& control = shoal_->collectionControl();
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
  above("announced", evidence_.announced, written);
  above("reported", evidence_.reported, written);
  above("applied", evidence_.applied, written);
  above("needed by another table", evidence_.needed, written);
  above("in a configuration", carried, begun);
  above("noted as cleaned in a configuration", noted, written);
  if (why.empty()) return;
  Pivot::Status const status = shoal_->entryLogConfig().giveUp(why);
  VEX_ASSERT_MSG(status.isOk(), "a log that is not to be believed is made anew", "{}", status.message());
}

// --- the units ---

EntryLogCore::~EntryLogCore() {
  for (auto const& [unitId, stored] : stored_) stored.config->swTableEntries().damageCounterIs(nullptr);
  if (shoal_ != nullptr) shoal_->entryLogConfig().damageCounterIs(nullptr);
}

void EntryLogCore::configIs(ConfigShoal& config, Asic::UnitId unitId) {
  stored_[unitId].config = &config;
  config.swTableEntries().damageCounterIs(&log_.groupInterface()->damageCounter());
}

void EntryLogCore::shoalIs(LogShoal& shoal) {
  shoal_ = &shoal;
  shoal.entryLogConfig().damageCounterIs(&log_.groupInterface()->damageCounter());
}

void EntryLogCore::unitsDisagree() {
  for (auto const& [unitId, stored] : stored_) {
    stored.config->collectionControl().agreesWithIs(0);
    LOAM_CRASH_POINT("log: unit disagrees");
  }
}

std::set<Asic::UnitId> EntryLogCore::unitsToldOf(Pivot::String const& imagePath, bool listIsWhole) {
  last_.clear();
  recordsWalk(shoal_->entryLogConfig(), [&](LogRecord const& record) {
    auto const [at, isFirst] = last_.try_emplace(record.unitId, record);
    if (!isFirst && at->second.logVersion < record.logVersion) at->second = record;
  });
  std::set<Asic::UnitId> units;
  for (auto const& [unitId, record] : last_) units.insert(unitId);
  // Otherwise each unit that the image knows has a configuration, or had one that the store knows to be lost.
  if (!listIsWhole || shoal_->collectionControl().scratchpad() == 0) {
    readBeside<ImageReader>(trace_, imagePath, [&](ImageReader& image) {
      rowsWalk(image, LoamTunnelNiLib::InLifImageEntry(),
               [&](auto const& entry) { units.insert(entry.key.unitId); });
    });
  }
  std::erase_if(units, [&](Asic::UnitId unitId) { return stored_.contains(unitId); });
  return units;
}

void EntryLogCore::configsLook() {
  auto const& log = shoal_->collectionControl();
  for (auto const& [unitId, stored] : stored_) {
    auto& control = stored.config->collectionControl();
    if (control.agreesWith() == log.incarnation() && isOld(*stored.config, unitId)) {
      control.partLost();
      LOAM_CRASH_POINT("log: older configuration marked");
    }
    if (!control.isOfAnotherBoot()) continue;
    VEX_TRACE(trace_, 1,
              " unitId: {} is of another boot of the kernel: its entries stand, and are published anew",
              unitId);
    control.agreesWithIs(0);
    LOAM_CRASH_POINT("log: unit of another boot disagrees");
    control.bootIsPresent();
  }
  last_.clear();
}

bool EntryLogCore::isOld(ConfigShoal& config, Asic::UnitId unitId) {
  std::uint64_t const cleaned = shoal_->collectionControl().watermark();
  std::uint64_t const known = config.collectionControl().watermark();
  if (known < cleaned) {
    VEX_TRACE(trace_, 1, " unitId: {} came back older: the log is cleaned up to {}, it knows of {}", unitId,
              cleaned, known);
    return true;
  }
  auto const last = last_.find(unitId);
  if (last == last_.end() || last->second.logVersion.value() <= known || holds(config, last->second))
    return false;
  VEX_TRACE(trace_, 1, " unitId: {} came back older: it does not have version {}, which stands in the log",
            unitId, last->second.logVersion);
  return true;
}

bool EntryLogCore::holds(ConfigShoal& config, LogRecord const& record) {
  if (!record.isTableDeleted()) {
    ConfigRecord const& found = recordRead(config.swTableEntries(), record.logEntry.key);
    return found.logVersion == record.logVersion && (found.isDeleted != 0) == record.isEntryDeleted();
  }
  bool isEmptied = true;
  recordsWalk(config.swTableEntries(), [&](ConfigRecord const& found) {
    isEmptied = isEmptied && (found.isDeleted != 0 || found.logVersion > record.logVersion);
  });
  return isEmptied;
}

// --- clean-ups ---

void EntryLogCore::cleanedNote(Asic::LogVersion upTo) {
  auto& log = shoal_->collectionControl();
  std::uint64_t const cleaned = std::min(upTo, log_.tableVersion()).value();
  if (cleaned <= log.watermark()) return;
  for (auto const& [unitId, stored] : stored_) {
    auto& control = stored.config->collectionControl();
    if (control.agreesWith() == log.incarnation() && control.watermark() < cleaned)
      control.watermarkIs(cleaned);
  }
  LOAM_CRASH_POINT("log: clean-up noted in the configurations");
  log.watermarkIs(cleaned);
  LOAM_CRASH_POINT("log: clean-up noted in the log");
}

}  // namespace LoamInLif
