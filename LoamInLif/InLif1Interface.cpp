// The table interface of InLif1.
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InterfaceOf-defs.h"

namespace LoamInLif {

template class InterfaceOf<InLif1>;

}  // namespace LoamInLif
