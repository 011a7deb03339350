#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamTunnelNiLib/Records.h"

BURSAR_DEFINE_TABLE(LoamTunnelNiLib, IveResourceTableResourceTable, IveResourceTableTraits)
