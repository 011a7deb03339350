// The names and records of the key and the resource table of this room, for inspection.
#pragma once

#include "Bursar/ResourceRecords.h"
#include "LoamQos/QosProfileEntryKey.h"
#include "LoamQos/QosProfileResourceTable.h"

PIVOT_DECLARE_MODULE(_QosProfileEntryKey_3e518ca6409df7b2_vexModule)
PIVOT_NAME_TYPE(LoamQos::QosProfileEntryKey, &_QosProfileEntryKey_3e518ca6409df7b2_vexModule, 0)
BURSAR_NAME_TABLE(LoamQos::QosProfileResourceTable, _QosProfileResourceTable_2b7fd9046ac815e3_vexModule)
