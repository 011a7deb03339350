// The writer in time: its turns, what it waits for between them, and a hardware that goes and comes back.
#include <fmt/format.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>
#include <utility>

#include "Shoal/StoreRoot.h"
#include "Vex/Trace.h"
#include "hardware/Writer.h"
#include "hardware/WriterTable.h"

namespace LoamHardware {
namespace {

Vex::TraceHandle const trace("HwWriter");

// Records of one table in a row: small enough that the agent hears soon, large enough that a report costs
// little.
constexpr std::size_t kInARow = 256;

// A turn is due so often when nothing happens.
constexpr std::chrono::milliseconds kIdle{1000};
// Hardware that has calls under way and no descriptor is looked at so often; one with a descriptor is waited for so long
// at most, since what the agent announces meanwhile is to be given too.
constexpr std::chrono::milliseconds kLook{1};
constexpr std::chrono::milliseconds kLookWithDescriptor{20};
constexpr std::chrono::milliseconds kLongestReopenPause{1000};

}  // namespace

// Everything is to be written again. The marks of that stand in the images before the hardware is opened.
void Writer::hardwareIsGone() {
  if (reopenAt_) return;
  VEX_TRACE(trace, 1, "the hardware was reset: everything is written again");
  for (auto& table : tables_) {
    table->lane.forget();
    table->rebuilding.drop();
    if (table->image.complete()) table->image.giveUp("the hardware was reset");
  }
  // Nobody takes its completions until it is opened again: a descriptor that stays readable would keep the owner awake.
  if (descriptor_ >= 0 && hardware_.descriptor() >= 0)
    epoll_ctl(descriptor_, EPOLL_CTL_DEL, hardware_.descriptor(), nullptr);
  reopenAt_ = Clock::now();
  reopenPause_ = std::chrono::milliseconds(1);
}

// Opens a hardware that was gone, when it is time to; false while it cannot be.
bool Writer::reopen() {
  if (!reopenAt_) return true;
  if (Clock::now() < *reopenAt_) return false;
  Pivot::Status const status = hardware_.open(group_);
  if (!status.isOk()) {
    if (std::exchange(reopenProblem_, status.message()) != status.message())
      VEX_TRACE(trace, 1, "the hardware cannot be opened again now: {}", status.message());
    reopenPause_ = std::min(reopenPause_ * 2, kLongestReopenPause);
    reopenAt_ = Clock::now() + reopenPause_;
    return false;
  }
  reopenAt_.reset();
  reopenProblem_.clear();
  watchHardware();
  return true;
}

std::size_t Writer::turn(std::size_t budget) {
  watchThread_.take();
  lastTurn_ = Clock::now();
  if (!reopen()) return 0;
  // What was given before goes its way, whatever can be read.
  passOn();
  if (!readable(announced_, isTimeToLook())) return 0;
  // Read before anything is looked at, so that what is announced from here on ends the next wait.
  counterSeen_ = announced_.reader().changeCounter();
  openingSeen_ = announced_.openings();
  std::size_t count = 0;
  for (bool moved = true; moved && count < budget && !reopenAt_;) {
    moved = false;
    for (auto& table : tables_) {
      if (reopenAt_) break;
      moved |= advance(*table, std::min(kInARow, budget - count), count);
    }
    moved |= passOn();
    for (auto& table : tables_) report(*table);
    if (reported_) {
      rows_.collectionControl().wakeReaders();
      reported_ = false;
    }
  }
  return count;
}

// Whether the file system is to be asked, in this turn, if the announcements are another file by now: a deleted one bears
// no mark. An owner with a loop of its own never waits here.
bool Writer::isTimeToLook() {
  if (lastTurn_ - lastLook_ < kIdle) return false;
  lastLook_ = lastTurn_;
  return true;
}

void Writer::wait(std::chrono::milliseconds timeout) {
  auto const due = std::chrono::ceil<std::chrono::milliseconds>(nextDeadline() - Clock::now());
  timeout = std::clamp(due, std::chrono::milliseconds(0), timeout);
  if (underWay()) {
    pollfd waiting{hardware_.descriptor(), POLLIN, 0};
    poll(&waiting, waiting.fd >= 0 ? 1 : 0, static_cast<int>(std::min(timeout, kLookWithDescriptor).count()));
    return;
  }
  if (!announced_.ready()) return watchForAnnouncement(timeout);
  if (announced_.openings() != openingSeen_) return;
  announced_.reader().waitForChange(counterSeen_, timeout);
}

bool Writer::underWay() const {
  return std::ranges::any_of(tables_, [](auto const& table) { return table->lane.underWay() != 0; });
}

Writer::Clock::time_point Writer::nextDeadline() const {
  Clock::time_point due = lastTurn_ + kIdle;
  if (reopenAt_) due = std::min(due, *reopenAt_);
  for (auto const& table : tables_) {
    // One whose time has passed was asked in the last turn, or has nothing to ask any more.
    if (auto const again = table->lane.again(); again && *again > lastTurn_) due = std::min(due, *again);
    if (table->lane.underWay() != 0 && hardware_.descriptor() < 0) due = std::min(due, lastTurn_ + kLook);
  }
  return due;
}

Pivot::Status Writer::watch(int& descriptor) {
  Pivot::Status status = watchThread_.start();
  if (status.isOk() && descriptor_ < 0) {
    descriptor_ = epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLIN;
    if (descriptor_ < 0 || epoll_ctl(descriptor_, EPOLL_CTL_ADD, watchThread_.descriptor(), &event) != 0)
      status = Pivot::Status::refused(fmt::format("no epoll: {}", std::strerror(errno)));
    watchHardware();
  }
  descriptor = descriptor_;
  return status;
}

// A hardware that was opened again may have another descriptor; one that was closed has left the set by itself.
void Writer::watchHardware() {
  if (descriptor_ < 0 || hardware_.descriptor() < 0 || reopenAt_) return;
  epoll_event event{};
  event.events = EPOLLIN;
  if (epoll_ctl(descriptor_, EPOLL_CTL_ADD, hardware_.descriptor(), &event) != 0 && errno != EEXIST)
    VEX_TRACE(trace, 1, "the descriptor {} of the hardware cannot be waited for: {}", hardware_.descriptor(),
              std::strerror(errno));
}

// Waits for a change in the deepest directory on the way to the announcements that exists already.
void Writer::watchForAnnouncement(std::chrono::milliseconds timeout) {
  std::filesystem::path place = std::filesystem::path(VexSharedMem::StoreRoot::root()) / group_.announcedPath;
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

}  // namespace LoamHardware
