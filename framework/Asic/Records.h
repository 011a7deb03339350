// The names and records of the types of this room, for inspection: bases and handles of tables, the group
// with its resolver, what a table instance shares, and the values that they hold.
#pragma once

#include "Asic/EntryFlags.h"
#include "Asic/EntryLogBase.h"
#include "Asic/EntryState.h"
#include "Asic/EntryVersion.h"
#include "Asic/GroupInterface.h"
#include "Asic/LogVersion.h"
#include "Asic/NeededEntry.h"
#include "Asic/OrderedSwTableSet.h"
#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "Asic/OrderedTableInterface.h"
#include "Asic/ResolverEntry.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "Asic/TableVersion.h"
#include "OrderedTable/TableName/TableName.h"
#include "Pivot/RootRecords.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueType.h"
#include "Statehub/EntityManager.h"

PIVOT_DECLARE_MODULE(_GroupResolver_4df014a59aa7a4f0_vexModule)
PIVOT_DECLARE_MODULE(_GroupInterface_91c6e20fd83b574a_vexModule)
PIVOT_DECLARE_MODULE(_OrderedSwTable_c2f7083e6d4a915b_vexModule)
PIVOT_DECLARE_MODULE(_OrderedSwTableSet_0a6d94e1b75c38f2_vexModule)
PIVOT_DECLARE_MODULE(_ResolverEntry_d85b1e7724c0f936_vexModule)
PIVOT_DECLARE_MODULE(_EntryLogBase_3e90c75ab8d1642f_vexModule)
PIVOT_DECLARE_MODULE(_OrderedTableInterface_76a1f4d20e9c8b35_vexModule)
PIVOT_DECLARE_MODULE(_Versions_f4083dc65b7e912a_vexModule)

PIVOT_NAME_TYPE(Asic::GroupResolver, &_GroupResolver_4df014a59aa7a4f0_vexModule, 0)
PIVOT_NAME_TYPE(Asic::GroupInterface, &_GroupInterface_91c6e20fd83b574a_vexModule, 0)

PIVOT_NAME_TYPE(Asic::CanonicalTableName, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 0)
PIVOT_NAME_TYPE(Asic::DependencyEntryHandle, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 1)
PIVOT_NAME_TYPE(Asic::SwTableBase::EntryHandle, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 2)
PIVOT_NAME_TYPE(Asic::OrderedSwTable::EntryHandle, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 3)
PIVOT_NAME_TYPE(Asic::SwTableBase, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 4)
PIVOT_NAME_TYPE(Asic::NamedSwTable, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 5)
PIVOT_NAME_TYPE(Asic::OrderedSwTable, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 6)
PIVOT_NAME_TYPE(Asic::OrderedSwTableWithMarkSweep, &_OrderedSwTable_c2f7083e6d4a915b_vexModule, 7)

PIVOT_NAME_TYPE(Asic::SwTableStats, &_OrderedSwTableSet_0a6d94e1b75c38f2_vexModule, 0)
PIVOT_NAME_TYPE(Asic::OrderedSwTableStatus, &_OrderedSwTableSet_0a6d94e1b75c38f2_vexModule, 1)
PIVOT_NAME_TYPE(Asic::OrderedSwTableSet, &_OrderedSwTableSet_0a6d94e1b75c38f2_vexModule, 2)

PIVOT_NAME_TYPE(Asic::ResolverEntry, &_ResolverEntry_d85b1e7724c0f936_vexModule, 0)
PIVOT_NAME_TYPE(Asic::EntryLogBase, &_EntryLogBase_3e90c75ab8d1642f_vexModule, 0)

PIVOT_NAME_TYPE(Asic::TableInterfaceBase, &_OrderedTableInterface_76a1f4d20e9c8b35_vexModule, 0)
PIVOT_NAME_TYPE(Asic::OrderedTableInterface, &_OrderedTableInterface_76a1f4d20e9c8b35_vexModule, 1)
PIVOT_NAME_TYPE(Asic::SwTableInterfacesSingleton, &_OrderedTableInterface_76a1f4d20e9c8b35_vexModule, 2)
PIVOT_NAME_TYPE(Statehub::EntityManager, &_OrderedTableInterface_76a1f4d20e9c8b35_vexModule, 3)

PIVOT_NAME_TYPE(Asic::SwTableId, &_Versions_f4083dc65b7e912a_vexModule, 0)
PIVOT_NAME_TYPE(Asic::MajorVersion, &_Versions_f4083dc65b7e912a_vexModule, 1)
PIVOT_NAME_TYPE(Asic::EntryVersion, &_Versions_f4083dc65b7e912a_vexModule, 2)
PIVOT_NAME_TYPE(Asic::LogVersion, &_Versions_f4083dc65b7e912a_vexModule, 3)
PIVOT_NAME_TYPE(Asic::TableVersion, &_Versions_f4083dc65b7e912a_vexModule, 4)
PIVOT_NAME_TYPE(Asic::EntryFlags, &_Versions_f4083dc65b7e912a_vexModule, 5)
PIVOT_NAME_TYPE(Asic::NeededEntry, &_Versions_f4083dc65b7e912a_vexModule, 6)
// An enumeration: it prints as the name of its value.
PIVOT_NAME_TYPE(Asic::EntryState)
