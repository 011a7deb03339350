#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamTunnelNiLib/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::IveResourceTableTraits>;

namespace LoamTunnelNiLib {

IveResourceTableResourceTable::~IveResourceTableResourceTable() = default;

}  // namespace LoamTunnelNiLib
