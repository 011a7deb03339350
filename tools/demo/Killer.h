// Kills processes after a delay, from a thread of its own, whatever everybody else is doing: so a kill falls
// between any two instructions of its victim. Delays below a fifth of a millisecond are waited for without
// sleeping, since a sleep would end later than that.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Inlif {

class Killer {
 public:
  Killer();
  ~Killer();

  // Kills all of these after the delay. REQUIRES: not armed. The descriptors are those of Process; copies are
  // kept, so a victim that dies before and is started again is not hit.
  void arm(std::chrono::microseconds delay, std::vector<int> const& victims);
  // Waits until the kill has happened and its victims are dead, when one is armed.
  void await();
  // After it nothing is killed any more. Returns whether the kill has happened.
  bool disarm();
  // The number that was set last when the kill fell.
  void placeIs(int place) { place_.store(place, std::memory_order_relaxed); }
  int placeOfKill() const { return placeOfKill_.load(std::memory_order_relaxed); }

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void forgetVictims();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int> victims_;  // empty: nothing to do
  Clock::time_point due_;
  bool fired_ = false;
  bool stop_ = false;
  std::atomic<bool> cancelled_{false};
  std::atomic<int> place_{0};
  std::atomic<int> placeOfKill_{0};
  bool armed_ = false;  // of the calling thread alone
  std::thread thread_;
};

}  // namespace Inlif
