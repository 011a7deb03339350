#include "LoamQos/QosProfileResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamQos/Records.h"

BURSAR_DEFINE_TABLE(LoamQos, QosProfileResourceTable, QosProfileTraits)
