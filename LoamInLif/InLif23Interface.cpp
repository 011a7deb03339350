// The table interface of InLif23.
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InterfaceOf-defs.h"

namespace LoamInLif {

template class InterfaceOf<InLif23>;

}  // namespace LoamInLif
