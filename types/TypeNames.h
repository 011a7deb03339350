// The full name of each class of the family, and where its record stands: its module, and its index there. A
// linkage module holds for each kind, in linkage order, the LocalUsageUpdateSm and the linkage.
#pragma once

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Kinds.h"
#include "LoamInLif/Names.h"
#include "LoamTunnelNiLib/Records.h"
#include "Pivot/ValueType.h"
#include "types/Modules.h"

#define LOAM_INLIF_NAME_TYPES(Instance, instance)                                                            \
  PIVOT_NAME_TYPE(LoamInLif::Instance##EntryLog, LoamInLif::Modules::Instance##EntryLog, 0)                  \
  PIVOT_NAME_TYPE(LoamInLif::Instance##EntryWrapper, LoamInLif::Modules::Instance##InfraTypes, 0)            \
  PIVOT_NAME_TYPE(LoamInLif::Instance##ResolverEntry, LoamInLif::Modules::Instance##InfraTypes, 1)           \
  PIVOT_NAME_TYPE(LoamInLif::Instance##Interface, LoamInLif::Modules::Instance##Interface, 0)                \
  PIVOT_NAME_TYPE(LoamInLif::Instance##SwTableHelperBase, LoamInLif::Modules::Instance##SwTableHelperBase,   \
                  0)                                                                                         \
  PIVOT_NAME_TYPE(LoamInLif::Instance##SwTable::EntryHandle, LoamInLif::Modules::Instance##SwTable, 0)       \
  PIVOT_NAME_TYPE(LoamInLif::Instance##SwTable::SwTableEntries_py, LoamInLif::Modules::Instance##SwTable, 1) \
  PIVOT_NAME_TYPE(LoamInLif::Instance##SwTable, LoamInLif::Modules::Instance##SwTable, 2)                    \
  PIVOT_NAME_TYPE(LoamInLif::Instance##SwTableIteratorState, LoamInLif::Modules::Instance##SwTable, 3)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_NAME_TYPES)
#undef LOAM_INLIF_NAME_TYPES

#define LOAM_INLIF_NAME_LINKAGE(Instance, instance, Name, name)                                           \
  PIVOT_NAME_TYPE(LoamInLif::Instance##Name##Linkage::LocalUsageUpdateSm,                                 \
                  LoamInLif::Modules::Instance##ResourceTableLinkage,                                     \
                  2 * LoamInLif::Kinds::indexOf<LoamInLif::Name##Kind>())                                 \
  PIVOT_NAME_TYPE(LoamInLif::Instance##Name##Linkage, LoamInLif::Modules::Instance##ResourceTableLinkage, \
                  2 * LoamInLif::Kinds::indexOf<LoamInLif::Name##Kind>() + 1)
#define LOAM_INLIF_NAME_LINKAGES(Instance, instance) \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_NAME_LINKAGE, Instance, instance)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_NAME_LINKAGES)
#undef LOAM_INLIF_NAME_LINKAGES
#undef LOAM_INLIF_NAME_LINKAGE
