// The wake descriptor is written after what it tells of, and read before that is looked at: a post or a stop that comes
// between the look and the wait ends the wait at once.
#include "agent/Loop.h"

#include <absl/cleanup/cleanup.h>
#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "Vex/Assert.h"

namespace LoamAgent {
namespace {

constexpr int kEventsOfTurn = 64;

Pivot::Status failure(char const* what, int descriptor) {
  return Pivot::Status::refused(fmt::format("descriptor {}: {}: {}", descriptor, what, std::strerror(errno)));
}

}  // namespace

Loop::~Loop() {
  if (epoll_ >= 0) close(epoll_);
  if (wake_ >= 0) close(wake_);
}

Pivot::Status Loop::open() {
  epoll_ = epoll_create1(EPOLL_CLOEXEC);
  wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (epoll_ < 0 || wake_ < 0) return failure("cannot be made", std::min(epoll_, wake_));
  int reports = -1;
  Pivot::Status status = host_.watch(reports);
  if (status.isOk()) status = waitFor(reports);
  if (status.isOk()) status = waitFor(wake_);
  return status;
}

Pivot::Status Loop::waitFor(int descriptor) const {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = descriptor;
  if (epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) == 0) return Pivot::Status::ok();
  return failure("cannot be waited for", descriptor);
}

Pivot::Status Loop::descriptorAdd(int descriptor, Work work) {
  VEX_ASSERT_MSG(epoll_ >= 0, "a loop is opened before it is used", "descriptorAdd({})", descriptor);
  Pivot::Status status = waitFor(descriptor);
  if (status.isOk()) works_[descriptor] = std::move(work);
  return status;
}

void Loop::descriptorDel(int descriptor) {
  if (works_.erase(descriptor) != 0) epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr);
}

void Loop::post(Work work) {
  VEX_ASSERT(wake_ >= 0, "a loop is opened before it is used");
  {
    std::lock_guard const lock(mutex_);
    posted_.push_back(std::move(work));
  }
  eventfd_write(wake_, 1);
}

void Loop::stop() {
  int const before = errno;
  stop_ = true;
  if (wake_ >= 0) eventfd_write(wake_, 1);
  errno = before;
}

void Loop::callPosted() {
  std::vector<Work> now;
  {
    std::lock_guard const lock(mutex_);
    now.swap(posted_);
  }
  // What an exception leaves uncalled is called in the next run, before what was posted meanwhile.
  auto next = now.begin();
  absl::Cleanup const leave = [&] {
    std::lock_guard const lock(mutex_);
    posted_.insert(posted_.begin(), std::move_iterator(next), std::move_iterator(now.end()));
  };
  while (next != now.end()) (*next++)();
}

Pivot::Status Loop::wait(bool busy) {
  auto until = host_.nextDeadline();
  if (restart_ != nullptr) until = std::min(until, restart_->nextDeadline());
  auto const rest = std::chrono::ceil<std::chrono::milliseconds>(until - Host::Clock::now()).count();
  epoll_event events[kEventsOfTurn];
  int const count =
      epoll_wait(epoll_, events, kEventsOfTurn, busy ? 0 : static_cast<int>(std::max<long>(rest, 0)));
  if (count < 0 && errno != EINTR) return failure("the wait failed", epoll_);
  for (int i = 0; i < count; ++i) {
    int const descriptor = events[i].data.fd;
    eventfd_t times;
    if (descriptor == wake_) eventfd_read(wake_, &times);
    // One that was called before may have taken it out, and what is called may take itself out.
    auto const at = works_.find(descriptor);
    if (at == works_.end()) continue;
    Work const work = at->second;
    work();
  }
  callPosted();
  return Pivot::Status::ok();
}

Pivot::Status Loop::run() {
  VEX_ASSERT(epoll_ >= 0, "a loop is opened before it is used");
  Pivot::Status status = Pivot::Status::ok();
  for (bool busy = true; !stop_ && status.isOk();) {
    status = wait(busy);
    busy = host_.turn();
    if (restart_ != nullptr) busy |= restart_->turn().what == Restart::Turn::What::swept;
    // A copy, since it may take itself out.
    if (Work const work = afterTurn_) work();
  }
  stop_ = false;
  return status;
}

}  // namespace LoamAgent
