// The clocks of the agent.
#include "Vex/System.h"

#include <time.h>

#include <chrono>

namespace Vex {

double System::currentTimeUtc() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::uint64_t System::coarseNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

}  // namespace Vex
