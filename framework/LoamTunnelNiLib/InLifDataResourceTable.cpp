#include "LoamTunnelNiLib/InLifDataResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamTunnelNiLib/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::InLifDataTraits>;

namespace LoamTunnelNiLib {

InLifDataResourceTable::~InLifDataResourceTable() = default;

}  // namespace LoamTunnelNiLib
