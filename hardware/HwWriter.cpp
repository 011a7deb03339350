#include "hardware/HwWriter.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <thread>
#include <utility>

#include "Pivot/Exceptions.h"
#include "Shoal/ReportedReads.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

using Asic::LogVersion;
using VexSharedMem::StoreRoot;

Vex::TraceHandle const trace("HwWriter");

// Records of one table in a row: small enough that the agent hears soon, large enough that a report costs
// little.
constexpr std::size_t kInARow = 256;

}  // namespace

struct HwWriter::Table {
  explicit Table(Asic::TableInfo const& tableInfo)
      : info(tableInfo), image(tableInfo), log(tableInfo.logPath) {}

  Asic::TableInfo const& info;
  HwImage image;
  Shoal::SteadyReader<HwImage::LogRecord> log;
  LogVersion reported;
  HeldBack heldBack;
  unsigned logSeen = 0;  // the opening of the log against which the image was held last
  // Told already, and still so.
  bool noSpace = false;
  std::string noRebuild;
};

HwWriter::HwWriter(Asic::GroupInfo group)
    : group_(std::move(group)), announced_(group_.announcedPath), needed_(group_.neededPath) {
  for (Asic::TableInfo const& info : group_.tables) tables_.push_back(std::make_unique<Table>(info));
}

HwWriter::~HwWriter() {
  if (watch_ >= 0) close(watch_);
}

Pivot::Status HwWriter::open() {
  Pivot::Status status = StoreRoot::claim(StoreRoot::Role::writer);
  if (status.isOk())
    status = rows_.mount({group_.tableVersionPath, Asic::kMaxTablesOfGroup, 0, StoreRoot::Role::writer});
  for (auto& table : tables_) {
    if (status.isOk()) status = table->image.mount();
  }
  if (!status.isOk()) return status;
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

bool HwWriter::announcedVersion(Table& table, LogVersion& version) {
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

// Whether the collection can be read; why not is told once. Another build may have laid its records out.
template <class Record>
bool HwWriter::readable(Shoal::SteadyReader<Record>& collection, bool look) {
  bool const ready = collection.ready(look);
  if (ready && unreadable_.empty()) return true;
  std::string const why = ready ? std::string() : collection.problem();
  if (std::exchange(unreadable_[collection.path()], why) != why && !why.empty())
    complain(collection.path(), fmt::format("waits until '{}' can be read: {}", collection.path(), why));
  if (ready) complained_.erase(collection.path());
  return ready;
}

// W4.
void HwWriter::complain(std::string const& about, std::string const& what) {
  if (std::exchange(complained_[about], what) == what) return;
  VEX_TRACE(trace, 1, "{}; the agent is told", what);
  auto& control = rows_.collectionControl();
  control.scratchpadIs(control.scratchpad() + 1);
  control.wakeReaders();
}

// Holds the image against a log that was opened anew. False if the log cannot be read.
bool HwWriter::lookAtLog(Table& table, std::uint64_t& incarnation, LogVersion& cleaned) {
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

// Whether the table can be advanced up to the announced version: its log is open and its image complete.
bool HwWriter::prepare(Table& table, LogVersion announced) {
  bool const isBehind = table.image.applied() < announced;
  if (table.image.complete() && !isBehind && table.logSeen != 0) return false;
  std::uint64_t log = 0;
  LogVersion cleaned;
  bool const hasLog = lookAtLog(table, log, cleaned);
  if (!table.image.complete()) {
    Pivot::Status const status = table.image.rebuild(std::max({announced, table.reported, cleaned}), log);
    if (table.image.damageIsNews())
      complain(table.info.configBase, status.message());
    else if (!status.isOk() && table.noRebuild != status.message())
      VEX_TRACE(trace, 1, "image of {} cannot be rebuilt now: {}", table.info.name, status.message());
    table.noRebuild = status.message();
    if (!status.isOk()) return false;
    complained_.erase(table.info.configBase);
    complained_.erase(table.log.path());
  }
  return table.image.applied() < announced && hasLog && readable(needed_);
}

HwWriter::Verdict HwWriter::needsMet(Table& table, LogVersion version) {
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
    if (tables_[other]->image.applied() >= need.logVersion()) continue;
    table.heldBack = {version, need};
    return Verdict::wait;
  }
  return Verdict::go;
}

bool HwWriter::advance(Table& table, std::size_t budget, std::size_t& count) {
  LogVersion announced;
  if (!announcedVersion(table, announced)) return false;
  bool const wasComplete = table.image.complete();
  // An image that has just been rebuilt is progress too: others may have waited for it.
  if (!prepare(table, announced)) return table.image.complete() != wasComplete;
  table.heldBack = {};
  table.image.begin(announced);
  HwImage::LogRecord record;
  std::size_t done = 0;
  for (std::uint64_t next = table.image.applied().value() + 1; next <= announced.value(); ++next) {
    LogVersion const version(next);
    Shoal::Read const read = table.log.lookup(version, record);
    if (read == Shoal::Read::absent) continue;  // a gap, by W1
    if (read == Shoal::Read::busy || done == budget) {
      count += done;
      return read != Shoal::Read::busy;
    }
    if (read == Shoal::Read::damaged) {
      // The record itself is gone; what it did stands in the configuration.
      table.image.giveUp(fmt::format("record {} of its log is damaged: {}", version, table.log.problem()));
      complain(table.log.path(), fmt::format("'{}' is damaged: {}", table.log.path(), table.log.problem()));
      count += done;
      return true;
    }
    Pivot::Status const room = table.image.reserve();
    if (!room.isOk() && !table.noSpace)
      VEX_TRACE(trace, 1, "image of {} waits for space: {}", table.info.name, room.message());
    table.noSpace = !room.isOk();
    if (table.noSpace || needsMet(table, version) == Verdict::wait) {
      count += done;
      return done > 0;
    }
    VEX_TRACE(trace, 8, "{} {} unit {} key {} flags {}", table.info.name, version, record.unitId,
              record.logEntry.key, record.logFlags);
    table.image.apply(record);
    ++done;
    if (!table.image.complete()) break;
  }
  count += done;
  if (table.image.complete()) table.image.appliedIs(announced);
  return true;
}

void HwWriter::report(Table& table) {
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
  reported_ = true;
}

std::size_t HwWriter::turn(std::size_t budget) {
  if (!readable(announced_, false)) return 0;
  // Read before anything is looked at, so that what is announced from here on ends the next wait.
  counterSeen_ = announced_.reader().changeCounter();
  openingSeen_ = announced_.openings();
  std::size_t count = 0;
  for (bool moved = true; moved && count < budget;) {
    moved = false;
    for (auto& table : tables_) {
      moved |= advance(*table, std::min(kInARow, budget - count), count);
      report(*table);
    }
    if (reported_) {
      rows_.collectionControl().wakeReaders();
      reported_ = false;
    }
  }
  return count;
}

void HwWriter::wait(std::chrono::milliseconds timeout) {
  if (!announced_.ready()) return watchForAnnouncement(timeout);
  if (announced_.openings() != openingSeen_) return;
  announced_.reader().waitForChange(counterSeen_, timeout);
}

// Waits for a change in the deepest directory on the way to the announcements that exists already.
void HwWriter::watchForAnnouncement(std::chrono::milliseconds timeout) {
  std::filesystem::path place = std::filesystem::path(StoreRoot::root()) / group_.announcedPath;
  std::error_code error;
  while (place.has_relative_path() && !std::filesystem::is_directory(place, error))
    place = place.parent_path();
  if (watch_ >= 0) close(watch_);
  watch_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (watch_ < 0 || inotify_add_watch(watch_, place.c_str(), IN_CREATE | IN_MOVED_TO) < 0) {
    std::this_thread::sleep_for(timeout);
    return;
  }
  // What appeared before the watch stood shows now; what appears later ends the poll.
  if (announced_.ready()) return;
  pollfd waiting{watch_, POLLIN, 0};
  poll(&waiting, 1, static_cast<int>(timeout.count()));
}

LogVersion HwWriter::applied(std::size_t table) const {
  return tables_[table]->image.applied();
}

HwWriter::HeldBack const& HwWriter::heldBack(std::size_t table) const {
  return tables_[table]->heldBack;
}

}  // namespace LoamHardware
