// The one process-wide switch between plain and atomic counting.
//
// The agent runs on one thread, so counts, trackers and the slab work without atomics or locks. Whoever
// starts a second thread that touches nodes sets tsp_ before it starts and leaves it set: the start of the
// thread orders the flag for it.
#pragma once

#include "Pivot/Export.h"

namespace Pivot {

struct LOAM_FRAMEWORK_EXPORT ThreadControl {
  static inline bool tsp_ = false;
};

}  // namespace Pivot
