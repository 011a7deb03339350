// The entry wrappers and resolver entries of the three instances: their instantiation and their factories.
#include "LoamInLif/InfraTypesOf-defs.h"

namespace LoamInLif {

#define LOAM_INLIF_DEFINE_INFRA_TYPES(Instance, instance)                                                \
  template class EntryWrapperOf<Instance>;                                                               \
  template class ResolverEntryOf<Instance>;                                                              \
  Pivot::Ptr<Instance##EntryWrapper> Instance##EntryWrapper::Instance##EntryWrapperIs(                   \
      Entry const& entry, EntryHandlePtr const& entryHandle) {                                           \
    return Pivot::make<Instance##EntryWrapper>(entry, entryHandle);                                      \
  }                                                                                                      \
  Pivot::Ptr<Instance##EntryWrapper> instance##EntryWrapperFactory(                                      \
      EntryWrapperCore::Entry const& entry, EntryWrapperCore::EntryHandlePtr const& entryHandle) {       \
    return Pivot::make<Instance##EntryWrapper>(entry, entryHandle);                                      \
  }                                                                                                      \
  Pivot::Ptr<Instance##ResolverEntry> Instance##ResolverEntry::Instance##ResolverEntryIs(                \
      Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle, Asic::EntryFlags flags, \
      Instance##SwTable* swTable, Pivot::Ptr<Instance##EntryWrapper> const& swTableEntry) {              \
    return Pivot::make<Instance##ResolverEntry>(dependantEntryHandle, flags, swTable, swTableEntry);     \
  }                                                                                                      \
  Pivot::Ptr<Instance##ResolverEntry> instance##ResolverEntryFactory(                                    \
      Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle, Asic::EntryFlags flags, \
      Instance##SwTable* swTable, Pivot::Ptr<Instance##EntryWrapper> const& swTableEntry) {              \
    return Pivot::make<Instance##ResolverEntry>(dependantEntryHandle, flags, swTable, swTableEntry);     \
  }
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DEFINE_INFRA_TYPES)
#undef LOAM_INLIF_DEFINE_INFRA_TYPES

}  // namespace LoamInLif
