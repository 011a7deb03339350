// The table interface of InLif0.
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InterfaceOf-defs.h"

namespace LoamInLif {

template class InterfaceOf<InLif0>;

}  // namespace LoamInLif
