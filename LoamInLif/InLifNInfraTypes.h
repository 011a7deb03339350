// The entry wrappers and resolver entries of the three instances, with their factories. What they do stands
// in InfraTypesOf.h and EntryWrapperCore.h.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/table/InfraTypesOf.h"

namespace LoamInLif {

#define LOAM_INLIF_DECLARE_INFRA_TYPES(Instance, instance)                                                 \
  extern template class EntryWrapperOf<Instance>;                                                          \
  extern template class ResolverEntryOf<Instance>;                                                         \
  class LOAM_INLIF_EXPORT Instance##EntryWrapper : public EntryWrapperOf<Instance> {                       \
   public:                                                                                                 \
    using EntryWrapperOf<Instance>::EntryWrapperOf;                                                        \
    COBBLE_HEAP(Instance##EntryWrapper);                                                                   \
    Pivot::TypeData typeData() const override;                                                             \
    static Pivot::Ptr<Instance##EntryWrapper> Instance##EntryWrapperIs(Entry const& entry,                 \
                                                                       EntryHandlePtr const& entryHandle); \
  };                                                                                                       \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##EntryWrapper> instance##EntryWrapperFactory(                      \
      EntryWrapperCore::Entry const& entry, EntryWrapperCore::EntryHandlePtr const& entryHandle);          \
  class LOAM_INLIF_EXPORT Instance##ResolverEntry : public ResolverEntryOf<Instance> {                     \
   public:                                                                                                 \
    using ResolverEntryOf<Instance>::ResolverEntryOf;                                                      \
    COBBLE_SLAB(Instance##ResolverEntry, Cobble::SlabAllocationPattern{1});                                \
    Pivot::TypeData typeData() const override;                                                             \
    static Pivot::Ptr<Instance##ResolverEntry> Instance##ResolverEntryIs(                                  \
        Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle, Asic::EntryFlags flags, \
        Instance##SwTable* swTable, Pivot::Ptr<Instance##EntryWrapper> const& swTableEntry);               \
  };                                                                                                       \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##ResolverEntry> instance##ResolverEntryFactory(                    \
      Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle, Asic::EntryFlags flags,   \
      Instance##SwTable* swTable, Pivot::Ptr<Instance##EntryWrapper> const& swTableEntry);
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_INFRA_TYPES)
#undef LOAM_INLIF_DECLARE_INFRA_TYPES

}  // namespace LoamInLif
