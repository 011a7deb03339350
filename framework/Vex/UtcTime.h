// Moments as people and machines read them alike: UTC with milliseconds, "2026-11-25T20:53:28.123Z".
#pragma once

#include <chrono>
#include <string>

#include "Cobble/Export.h"

namespace Vex {

LOAM_FRAMEWORK_EXPORT std::string utcText(std::chrono::system_clock::time_point time);

}  // namespace Vex
