#include "LoamTunnelNiLib/LearnEnableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamTunnelNiLib/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::LearnEnableTraits>;

namespace LoamTunnelNiLib {

LearnEnableResourceTable::~LearnEnableResourceTable() = default;

}  // namespace LoamTunnelNiLib
