#include "hardware/Writer.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "Pivot/Exceptions.h"
#include "Shoal/ReportedReads.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"
#include "hardware/WriterTable.h"

namespace LoamHardware {
namespace {

using Asic::LogVersion;
using VexSharedMem::StoreRoot;

Vex::TraceHandle const trace("HwWriter");

std::optional<std::vector<Asic::UnitId>> const kNoUnits{std::in_place};

}  // namespace

Writer::Writer(Asic::GroupInfo group, Hardware& hardware)
    : group_(std::move(group)),
      hardware_(hardware),
      announced_(group_.announcedPath),
      needed_(group_.neededPath),
      watchThread_(group_.announcedPath) {
  for (std::size_t place = 0; place < group_.tables.size(); ++place) {
    Asic::TableInfo const& info = group_.tables[place];
    tables_.push_back(std::make_unique<Table>(place, info, hardware_));
    // Entries of other tables that stand without one of this table do so no more.
    tables_.back()->failures.onRecovery([this, id = info.id](Failures::Key const& key) {
      for (auto& table : tables_) table->failures.needRecovered({id, key});
    });
  }
}

Writer::~Writer() {
  if (descriptor_ >= 0) close(descriptor_);
  if (watch_ >= 0) close(watch_);
}

Pivot::Status Writer::open() {
  Pivot::Status status = StoreRoot::claim(StoreRoot::Role::writer);
  if (status.isOk())
    status = rows_.mount({group_.tableVersionPath, Asic::kMaxTablesOfGroup, 0, StoreRoot::Role::writer});
  for (auto& table : tables_) {
    if (status.isOk()) status = table->image.mount();
    if (status.isOk()) status = table->failures.mount();
  }
  if (status.isOk()) status = openRows();
  if (status.isOk()) status = hardware_.open(group_);
  if (!status.isOk()) return status;
  for (std::size_t place = 0; place < tables_.size(); ++place) {
    Table& table = *tables_[place];
    // What stands beside an image that knows nothing is of another store.
    bool const trusted =
        hardware_.stands(place) && (!table.image.isMadeNow() || hardware_.standingUnits(place) == kNoUnits);
    if (!trusted && table.image.complete())
      table.image.giveUp("the hardware does not vouch for what it holds", 2);
    table.given = table.image.applied();
  }
  return status;
}

Pivot::Status Writer::openRows() {
  if (rows_.collectionControl().isOfAnotherBoot()) {
    VEX_TRACE(trace, 1, "what was reported in another boot of the kernel is none: the hardware is cold");
    for (auto& table : tables_) rows_.del(table->info.id);
    rows_.collectionControl().notePresentBoot();
  }
  for (auto& table : tables_) {
    // A row that is damaged is written anew from the image, which knows at least as much.
    table->reported = Shoal::recordOrDefault(rows_, table->info.id).logVersion();
    table->image.reportedIs(table->reported);
  }
  // What was lost here is made up from the image; the mark has no further reader.
  rows_.collectionControl().clearWiped();
  return rows_.reserve(static_cast<std::uint32_t>(tables_.size()));
}

bool Writer::announcedVersion(Table& table, LogVersion& version) {
  Asic::AnnouncedRow row;
  Shoal::Read const read = announced_.lookup(table.info.id, row);
  if (read == Shoal::Read::damaged)
    complain(table.info.name, fmt::format("{} waits, its announced version is damaged: {}", table.info.name,
                                          announced_.problem()));
  if (read != Shoal::Read::found) return false;
  if (!complained_.empty()) complained_.erase(table.info.name);
  version = row.version;
  return true;
}

// W4.
void Writer::complain(std::string const& about, std::string const& what) {
  if (std::exchange(complained_[about], what) == what) return;
  VEX_TRACE(trace, 1, "{}; the agent is told", what);
  auto& control = rows_.collectionControl();
  control.scratchpadIs(control.scratchpad() + 1);
  control.wakeReaders();
}

// Holds the image against a log that was opened anew. False if the log cannot be read.
bool Writer::lookAtLog(Table& table, std::uint64_t& incarnation, LogVersion& cleaned) {
  if (!readable(table.log)) return false;
  try {
    incarnation = table.log.reader().incarnation();
    cleaned = LogVersion(table.log.reader().watermark());
  } catch (Pivot::CorruptionDetectedException const& damage) {
    complain(table.log.path(),
             fmt::format("waits until '{}' can be read: {}", table.log.path(), damage.what()));
    return false;
  }
  if (std::exchange(table.logSeen, table.log.openings()) != table.log.openings())
    table.image.logIs(incarnation, cleaned);
  return true;
}

// Goes on with the rebuilding of a table; false when it is not complete yet.
bool Writer::rebuild(Table& table, LogVersion version, std::uint64_t log) {
  Rebuild::Step const step = table.rebuilding.step(version, log);
  if (step == Rebuild::Step::gone) hardwareIsGone();
  if (step == Rebuild::Step::waits || step == Rebuild::Step::gone) return false;
  std::string const why = step == Rebuild::Step::refused ? table.rebuilding.why() : std::string();
  if (table.rebuilding.damageIsNews())
    complain(table.info.configBase, why);
  else if (!why.empty() && table.noRebuild != why)
    VEX_TRACE(trace, 1, "image of {} cannot be rebuilt now: {}", table.info.name, why);
  table.noRebuild = why;
  if (!why.empty()) return false;
  table.given = table.image.applied();
  for (auto& other : tables_) other->failures.rebuilt(table.failures);
  complained_.erase(table.info.configBase);
  complained_.erase(table.log.path());
  return true;
}

// Whether the table can be advanced up to the announced version: its log is open and its image complete.
bool Writer::prepare(Table& table, LogVersion announced) {
  if (table.image.complete() && table.failures.lost()) table.image.giveUp("failures of it were lost");
  bool const isBehind = table.given < announced;
  if (table.image.complete() && !isBehind && table.logSeen != 0) return false;
  std::uint64_t log = 0;
  LogVersion cleaned;
  bool const hasLog = lookAtLog(table, log, cleaned);
  if (!table.image.complete() && !rebuild(table, std::max({announced, table.reported, cleaned}), log))
    return false;
  return table.given < announced && hasLog && readable(needed_);
}

Writer::Verdict Writer::needsMet(Table& table, LogVersion version) {
  table.refusedNeed.reset();
  Asic::NeededRow row;
  Shoal::Read const read = needed_.lookup({table.info.id, version}, row);
  if (read == Shoal::Read::absent) return Verdict::go;
  if (read == Shoal::Read::busy) return Verdict::wait;
  if (read == Shoal::Read::damaged) {
    complain(needed_.path(), fmt::format("needed versions of {} version {} are damaged, it goes without: {}",
                                         table.info.name, version, needed_.problem()));
    return Verdict::go;
  }
  for (Asic::TableVersion const& need : row.needs) {
    if (need.logVersion().value() == 0) break;
    std::size_t const other = group_.indexOf(need.tableId());
    if (other == tables_.size()) {
      VEX_TRACE(trace, 1, "{} version {} needs {}, which is no table here; it goes without", table.info.name,
                version, need);
      continue;
    }
    if (tables_[other]->image.applied() >= need.logVersion()) {
      if (auto const refused = tables_[other]->failures.refusedAt(need.logVersion()))
        table.refusedNeed = Failures::Need{need.tableId(), *refused};
      continue;
    }
    table.heldBack = {version, need};
    return Verdict::wait;
  }
  return Verdict::go;
}

bool Writer::advance(Table& table, std::size_t budget, std::size_t& count) {
  LogVersion announced;
  if (!announcedVersion(table, announced)) return false;
  bool const wasComplete = table.image.complete();
  // An image that has just been rebuilt is progress too: others may have waited for it.
  if (!prepare(table, announced)) return table.image.complete() != wasComplete;
  if (table.lane.blocked()) return false;
  table.heldBack = {};
  table.image.begin(announced);
  std::size_t const before = count;
  bool const goesOn = give(table, announced, budget, count);
  settle(table);
  return goesOn && (count != before || table.given >= announced || !table.image.complete());
}

// The records of a table up to the announced version. False when it cannot go on with the one behind those that it gave.
bool Writer::give(Table& table, LogVersion announced, std::size_t budget, std::size_t& count) {
  Image::LogRecord record;
  std::size_t done = 0;
  for (std::uint64_t next = table.given.value() + 1; next <= announced.value(); ++next) {
    LogVersion const version(next);
    Shoal::Read const read = table.log.lookup(version, record);
    if (read == Shoal::Read::absent) continue;  // a gap, by W1
    if (read == Shoal::Read::busy || done == budget) return read != Shoal::Read::busy;
    if (read == Shoal::Read::damaged) {
      // The record itself is gone; what it did stands in the configuration.
      table.image.giveUp(fmt::format("record {} of its log is damaged: {}", version, table.log.problem()));
      complain(table.log.path(), fmt::format("'{}' is damaged: {}", table.log.path(), table.log.problem()));
      return true;
    }
    Pivot::Status const room = table.image.reserve(table.lane.underWay() + 1);
    if (!room.isOk() && !table.noSpace)
      VEX_TRACE(trace, 1, "image of {} waits for space: {}", table.info.name, room.message());
    table.noSpace = !room.isOk();
    if (table.noSpace || table.lane.blocked() || needsMet(table, version) == Verdict::wait) return done > 0;
    VEX_TRACE(trace, 8, "{} {} unit {} key {} flags {}", table.info.name, version, record.unitId,
              record.logEntry.key, record.logFlags);
    Lane::Given const given = table.lane.give(record, table.refusedNeed);
    if (given == Lane::Given::gone) hardwareIsGone();
    if (given != Lane::Given::taken) return done > 0 && given == Lane::Given::wait;
    ++done;
    ++count;
    table.given = version;
    if (!table.image.complete()) return true;
  }
  table.given = announced;
  return true;
}

// What was given goes to the hardware now, and what it has completed into the images. Whether anything was completed:
// others may have waited for that.
bool Writer::passOn() {
  for (auto& table : tables_) {
    if (reopenAt_) return false;
    if (table->lane.endBatch() == Lane::Given::gone) hardwareIsGone();
  }
  return takeCompletions();
}

bool Writer::takeCompletions() {
  completed_.clear();
  if (!reopenAt_) hardware_.completions(completed_);
  for (Completion const& completion : completed_) {
    if (completion.answer.kind() == Answer::Kind::gone) {
      hardwareIsGone();
      return false;
    }
    bool const known =
        std::ranges::any_of(tables_, [&](auto& table) { return table->lane.completed(completion); });
    VEX_ASSERT_MSG(known, "a completion is of a call under way", "ticket {}", completion.ticket);
  }
  for (auto& table : tables_) settle(*table);
  return !completed_.empty();
}

// What was given last is complete when nothing is under way: the gaps behind it are, too.
void Writer::settle(Table& table) {
  if (table.image.complete() && table.lane.underWay() == 0 && table.image.applied() < table.given)
    table.image.appliedIs(table.given);
}

void Writer::report(Table& table) {
  LogVersion const applied = table.image.applied();
  if (applied <= table.reported) return;
  std::uint64_t const lossEpoch = rows_.lossEpoch();
  rows_.set(Asic::TableVersion(table.info.id, applied));
  table.reported = applied;
  // What the change found damaged took rows of other tables along.
  if (rows_.lossEpoch() != lossEpoch)
    for (auto& other : tables_)
      if (other->reported.value() != 0) rows_.set(Asic::TableVersion(other->info.id, other->reported));
  table.image.wakeReaders();
  table.failures.wakeReaders();
  reported_ = true;
}

LogVersion Writer::applied(std::size_t table) const {
  return tables_[table]->image.applied();
}

std::uint32_t Writer::failures(std::size_t table) const {
  return tables_[table]->failures.size();
}

Writer::HeldBack const& Writer::heldBack(std::size_t table) const {
  return tables_[table]->heldBack;
}

}  // namespace LoamHardware
