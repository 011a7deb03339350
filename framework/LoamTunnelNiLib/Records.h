// The names and records of the types of this room, for inspection: the entry with its key and its parts, the
// shared records and collections, the typed bases of the three tables, and three resource tables with their
// keys.
#pragma once

#include "LoamAdjLib/Records.h"
#include "LoamCountersLib/Records.h"
#include "LoamQos/Records.h"
#include "LoamTunnelNiLib/InLifDataEntryKey.h"
#include "LoamTunnelNiLib/InLifDataResourceTable.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "LoamTunnelNiLib/InLifModelSwTableBase.h"
#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"
#include "LoamTunnelNiLib/IveResourceTableEntryKey.h"
#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"
#include "LoamTunnelNiLib/LearnEnableEntryKey.h"
#include "LoamTunnelNiLib/LearnEnableResourceTable.h"
#include "Wirekit/Records.h"

PIVOT_DECLARE_MODULE(_InLifModelEntry_7ad3e51f08c6b294_vexModule)
PIVOT_DECLARE_MODULE(_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule)
PIVOT_DECLARE_MODULE(_InLifModelShoal_46c90ba2e5d718f3_vexModule)
PIVOT_DECLARE_MODULE(_InLifModelSwTable_b3052fe9d4761ca8_vexModule)

PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelEntryKey, &_InLifModelEntry_7ad3e51f08c6b294_vexModule, 0)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelLogEntry, &_InLifModelEntry_7ad3e51f08c6b294_vexModule, 1)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelResourceKeys, &_InLifModelEntry_7ad3e51f08c6b294_vexModule, 2)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelEntry, &_InLifModelEntry_7ad3e51f08c6b294_vexModule, 3)

PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifDataEntryKey, &_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, 0)
PIVOT_NAME_TYPE(LoamTunnelNiLib::IntfOrVlanId, &_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, 1)
PIVOT_NAME_TYPE(LoamTunnelNiLib::LearnEnableEntryKey, &_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, 2)
PIVOT_NAME_TYPE(LoamTunnelNiLib::VlanEditResourceKey, &_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, 3)
PIVOT_NAME_TYPE(LoamTunnelNiLib::IveResourceTableEntryKey,
                &_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, 4)

PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelConfigShoalEntry, &_InLifModelShoal_46c90ba2e5d718f3_vexModule, 0)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelLogShoalEntry, &_InLifModelShoal_46c90ba2e5d718f3_vexModule, 1)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelConfigShoal, &_InLifModelShoal_46c90ba2e5d718f3_vexModule, 2)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelEntryLogShoal, &_InLifModelShoal_46c90ba2e5d718f3_vexModule, 3)

PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle,
                &_InLifModelSwTable_b3052fe9d4761ca8_vexModule, 0)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelSwTableBase, &_InLifModelSwTable_b3052fe9d4761ca8_vexModule, 1)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelSwTableIteratorState::State,
                &_InLifModelSwTable_b3052fe9d4761ca8_vexModule, 2)
PIVOT_NAME_TYPE(LoamTunnelNiLib::InLifModelSwTableIteratorState,
                &_InLifModelSwTable_b3052fe9d4761ca8_vexModule, 3)

BURSAR_NAME_TABLE(LoamTunnelNiLib::InLifDataResourceTable, _InLifDataResourceTable_0f8e37c2b6d19a54_vexModule)
BURSAR_NAME_TABLE(LoamTunnelNiLib::LearnEnableResourceTable,
                  _LearnEnableResourceTable_d1694ab83e07f25c_vexModule)
BURSAR_NAME_TABLE(LoamTunnelNiLib::IveResourceTableResourceTable,
                  _IveResourceTableResourceTable_63b5f80c4ae2d917_vexModule)
