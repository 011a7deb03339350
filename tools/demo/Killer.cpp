#include "tools/demo/Killer.h"

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

void Killer::arm(std::chrono::microseconds delay, std::vector<int> victims) {
  {
    std::lock_guard const lock(mutex_);
    victims_ = std::move(victims);
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
  victims_.clear();
  armed_ = false;
  changed_.notify_all();
  return fired_;
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
      victims_.clear();
      continue;
    }
    placeOfKill_ = place_.load(std::memory_order_relaxed);
    for (int victim : victims_) syscall(SYS_pidfd_send_signal, victim, SIGKILL, nullptr, 0);
    fired_ = true;
    victims_.clear();
    changed_.notify_all();
  }
}

}  // namespace Inlif
