// The clocks of the agent.
#pragma once

#include <cstdint>

#include "Cobble/Export.h"

namespace Vex {

struct LOAM_FRAMEWORK_EXPORT System {
  // Seconds since 1970-01-01 00:00 UTC.
  static double currentTimeUtc();
  // Nanoseconds of a clock that never goes back: with a resolution of a few milliseconds, at a fifth of the price.
  static std::uint64_t coarseNanoseconds();
};

}  // namespace Vex
