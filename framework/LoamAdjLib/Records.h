// The names and records of the key and the resource table of this room, for inspection.
#pragma once

#include "Bursar/ResourceRecords.h"
#include "LoamAdjLib/L2AdjToFecResourceTableEntryKey.h"
#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"

PIVOT_DECLARE_MODULE(_L2AdjToFecResourceTableEntryKey_2bf4617d8c3a0e95_vexModule)
PIVOT_NAME_TYPE(LoamAdjLib::L2AdjToFecResourceTableEntryKey,
                &_L2AdjToFecResourceTableEntryKey_2bf4617d8c3a0e95_vexModule, 0)
BURSAR_NAME_TABLE(LoamAdjLib::L2AdjToFecResourceTableResourceTable,
                  _L2AdjToFecResourceTableResourceTable_59e0a3c8d7164fb2_vexModule)
