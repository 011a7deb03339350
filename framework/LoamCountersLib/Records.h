// The names and records of the key and the resource table of this room, for inspection.
#pragma once

#include "Bursar/ResourceRecords.h"
#include "LoamCountersLib/CrpsIndexRequestEntryKey.h"
#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"

PIVOT_DECLARE_MODULE(_CrpsIndexRequestEntryKey_07c3fb59e1862d4a_vexModule)
PIVOT_NAME_TYPE(LoamCountersLib::CrpsIndexRequestEntryKey,
                &_CrpsIndexRequestEntryKey_07c3fb59e1862d4a_vexModule, 0)
BURSAR_NAME_TABLE(LoamCountersLib::CrpsIndexRequestResourceTable,
                  _CrpsIndexRequestResourceTable_a4d2681e95bf3c70_vexModule)
