#include "tools/demo/Killer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

namespace Inlif {

Killer::Killer() : thread_([this] { run(); }) {}

Killer::~Killer() {
  disarm();
  {
    std::lock_guard const lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void Killer::arm(std::chrono::microseconds delay, std::vector<int> const& victims) {
  {
    std::lock_guard const lock(mutex_);
    for (int victim : victims) victims_.push_back(fcntl(victim, F_DUPFD_CLOEXEC, 0));
    due_ = Clock::now() + delay;
    fired_ = false;
    cancelled_ = false;
  }
  armed_ = true;
  changed_.notify_all();
}

void Killer::await() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return victims_.empty(); });
}

bool Killer::disarm() {
  if (!armed_) return false;
  cancelled_ = true;
  std::lock_guard const lock(mutex_);
  forgetVictims();
  armed_ = false;
  return fired_;
}

void Killer::forgetVictims() {
  for (int victim : victims_) close(victim);
  victims_.clear();
  changed_.notify_all();
}

void Killer::run() {
  constexpr std::chrono::microseconds kSpin{200};
  std::unique_lock lock(mutex_);
  while (!stop_) {
    if (victims_.empty()) {
      changed_.wait(lock);
      continue;
    }
    if (Clock::now() + kSpin < due_) {
      changed_.wait_until(lock, due_ - kSpin);
      continue;
    }
    while (Clock::now() < due_ && !cancelled_) {
    }
    if (cancelled_) {
      forgetVictims();
      continue;
    }
    placeOfKill_ = place_.load(std::memory_order_relaxed);
    for (int victim : victims_) syscall(SYS_pidfd_send_signal, victim, SIGKILL, nullptr, 0);
    for (int victim : victims_) {
      pollfd death{victim, POLLIN, 0};
      poll(&death, 1, 1000);
    }
    fired_ = true;
    forgetVictims();
  }
}

}  // namespace Inlif
