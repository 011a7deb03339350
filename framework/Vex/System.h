// The clock of the agent.
#pragma once

#include "Cobble/Export.h"

namespace Vex {

struct LOAM_FRAMEWORK_EXPORT System {
  // Seconds since 1970-01-01 00:00 UTC.
  static double currentTimeUtc();
};

}  // namespace Vex
