#include "Cobble/ThreadControl.h"

namespace Pivot {

bool ThreadControl::tsp_ = false;

}  // namespace Pivot
