// The one process-wide switch between plain and atomic counting.
//
// The agent runs on one thread, so counts, trackers and the slab work without atomics or locks. Whoever
// starts a second thread that touches nodes sets tsp_ before it starts and leaves it set: the start of the
// thread orders the flag for it. It is not inline: a library that keeps its weak symbols to itself would have
// a flag of its own.
#pragma once

#include "Cobble/Export.h"

namespace Pivot {

struct LOAM_FRAMEWORK_EXPORT ThreadControl {
  static bool tsp_;
};

}  // namespace Pivot
