// What the source of each instance stamps: its modules, and what its classes answer when they are asked for their
// record. Included there and nowhere else, so that the three are compiled beside each other.
#pragma once

#include "types/EntryLogRecord.h"
#include "types/InfraTypesRecords.h"
#include "types/InterfaceRecord.h"
#include "types/LinkageRecords.h"
#include "types/SwTableHelperBaseRecord.h"
#include "types/SwTableRecords.h"

// What a class answers that is made by an operation of its own name.
#define LOAM_INLIF_MADE_CLASS(Class)                        \
  template <>                                               \
  inline constexpr auto makerOf<Class> = &Class::Class##Is; \
  PIVOT_DEFINE_TYPE_DATA(Class)

#define LOAM_INLIF_LINKAGE(Instance, instance, Name, name) \
  LOAM_INLIF_MADE_CLASS(Instance##Name##Linkage)           \
  PIVOT_DEFINE_TYPE_DATA(Instance##Name##Linkage::LocalUsageUpdateSm)

#define LOAM_INLIF_MODULE(Instance, Unit, hash) \
  PIVOT_DEFINE_MODULE_OF(_##Instance##Unit##_##hash##_vexModule, LoamInLif::Unit##Tables<LoamInLif::Instance>)

#define LOAM_INLIF_DEFINE_MODULES(Instance, instance)             \
  namespace LoamInLif {                                           \
  LOAM_INLIF_MADE_CLASS(Instance##EntryLog)                       \
  LOAM_INLIF_MADE_CLASS(Instance##EntryWrapper)                   \
  LOAM_INLIF_MADE_CLASS(Instance##ResolverEntry)                  \
  LOAM_INLIF_MADE_CLASS(Instance##SwTable)                        \
  LOAM_INLIF_MADE_CLASS(Instance##SwTableHelperBase)              \
  LOAM_INLIF_MADE_CLASS(Instance##SwTableIteratorState)           \
  PIVOT_DEFINE_TYPE_DATA(Instance##Interface)                     \
  PIVOT_DEFINE_TYPE_DATA(Instance##SwTable::EntryHandle)          \
  PIVOT_DEFINE_TYPE_DATA(Instance##SwTable::SwTableEntries_py)    \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_LINKAGE, Instance, instance) \
  }                                                               \
  LOAM_INLIF_MODULES_OF_##Instance(LOAM_INLIF_MODULE)
