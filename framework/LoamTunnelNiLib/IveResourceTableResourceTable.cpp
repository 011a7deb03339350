#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"

template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::IveResourceTableTraits>;

namespace LoamTunnelNiLib {

IveResourceTableResourceTable::~IveResourceTableResourceTable() = default;

}  // namespace LoamTunnelNiLib
