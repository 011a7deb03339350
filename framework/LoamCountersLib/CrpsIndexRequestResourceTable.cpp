#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamCountersLib/Records.h"

BURSAR_DEFINE_TABLE(LoamCountersLib, CrpsIndexRequestResourceTable, CrpsIndexRequestTraits)
