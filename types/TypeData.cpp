// typeData() of every class of the family: its module, and its index there.
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Kinds.h"
#include "types/Modules.h"
#include "types/TypeNames.h"

namespace LoamInLif {

namespace {
template <class Kind>
constexpr std::uint32_t linkageIndex() {
  return 2 * static_cast<std::uint32_t>(Kinds::indexOf<Kind>()) + 1;
}
}  // namespace

#define LOAM_INLIF_TYPE_DATA(Class, module, index) \
  Pivot::TypeData Class::typeData() const {        \
    return {Modules::module, index};               \
  }

#define LOAM_INLIF_INSTANCE_TYPE_DATA(Instance, instance)                                              \
  LOAM_INLIF_TYPE_DATA(Instance##EntryLog, Instance##EntryLog, 0)                                      \
  LOAM_INLIF_TYPE_DATA(Instance##Interface, Instance##Interface, 0)                                    \
  LOAM_INLIF_TYPE_DATA(Instance##SwTableHelperBase, Instance##SwTableHelperBase, 0)                    \
  LOAM_INLIF_TYPE_DATA(Instance##EntryWrapper, Instance##InfraTypes, TypeNames::entryWrapperIndex)     \
  LOAM_INLIF_TYPE_DATA(Instance##ResolverEntry, Instance##InfraTypes, TypeNames::resolverEntryIndex)   \
  LOAM_INLIF_TYPE_DATA(Instance##SwTable::EntryHandle, Instance##SwTable, TypeNames::entryHandleIndex) \
  LOAM_INLIF_TYPE_DATA(Instance##SwTable::SwTableEntries_py, Instance##SwTable,                        \
                       TypeNames::swTableEntriesIndex)                                                 \
  LOAM_INLIF_TYPE_DATA(Instance##SwTable, Instance##SwTable, TypeNames::swTableIndex)                  \
  LOAM_INLIF_TYPE_DATA(Instance##SwTableIteratorState, Instance##SwTable, TypeNames::iteratorStateIndex)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_INSTANCE_TYPE_DATA)
#undef LOAM_INLIF_INSTANCE_TYPE_DATA

#define LOAM_INLIF_LINKAGE_TYPE_DATA(Instance, instance, Name, name)                                \
  LOAM_INLIF_TYPE_DATA(Instance##Name##Linkage::LocalUsageUpdateSm, Instance##ResourceTableLinkage, \
                       linkageIndex<Name##Kind>() - 1)                                              \
  LOAM_INLIF_TYPE_DATA(Instance##Name##Linkage, Instance##ResourceTableLinkage, linkageIndex<Name##Kind>())
#define LOAM_INLIF_LINKAGES_TYPE_DATA(Instance, instance) \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_LINKAGE_TYPE_DATA, Instance, instance)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_LINKAGES_TYPE_DATA)
#undef LOAM_INLIF_LINKAGES_TYPE_DATA
#undef LOAM_INLIF_LINKAGE_TYPE_DATA
#undef LOAM_INLIF_TYPE_DATA

}  // namespace LoamInLif
