// The longest turn of the agent's loop, which is how long one client or command can keep the others waiting.
// Counted in processor time of the loop's thread: what other processes take from it is not the agent's doing.
// The event loop measures, the operation `status` asks. On the agent's one thread.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

namespace Inlif {

class TurnTime {
 public:
  void begin() { begin_ = now(); }
  void end() { longest_ = std::max(longest_, now() - begin_); }
  // The longest turn that has ended since the call before this one; the next call begins anew.
  std::chrono::nanoseconds take() { return std::exchange(longest_, {}); }

 private:
  static std::chrono::nanoseconds now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }

  std::chrono::nanoseconds begin_{};
  std::chrono::nanoseconds longest_{};
};

}  // namespace Inlif
