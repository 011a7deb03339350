#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamAdjLib/Records.h"

BURSAR_DEFINE_TABLE(LoamAdjLib, L2AdjToFecResourceTableResourceTable, L2AdjToFecTraits)
