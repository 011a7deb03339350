#include "LoamTunnelNiLib/LearnEnableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamTunnelNiLib/Records.h"

BURSAR_DEFINE_TABLE(LoamTunnelNiLib, LearnEnableResourceTable, LearnEnableTraits)
