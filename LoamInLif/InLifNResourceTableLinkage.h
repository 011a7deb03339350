// The ten linkage classes of each of the three instances, each with its nested LocalUsageUpdateSm, and their
// factories. What they do stands in LinkageOf.h and LocalUsageUpdateSmOf.h; this header gives them their
// names.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/linkage/LinkageOf.h"
#include "LoamInLif/linkage/LocalUsageUpdateSmOf.h"

namespace LoamInLif {

// Each factory has the arguments of the constructor and makes a new object; a LocalUsageUpdateSm comes with
// its notification active.
#define LOAM_INLIF_DEFINE_LINKAGE(Instance, instance, Name, name)                                     \
  class LOAM_INLIF_EXPORT Instance##Name##Linkage : public LinkageOf<Instance, Name##Kind> {          \
   public:                                                                                            \
    class LOAM_INLIF_EXPORT LocalUsageUpdateSm : public LocalUsageUpdateSmOf<Instance, Name##Kind> {  \
     public:                                                                                          \
      using LocalUsageUpdateSmOf<Instance, Name##Kind>::LocalUsageUpdateSmOf;                         \
      COBBLE_SLAB(Instance##Name##Linkage::LocalUsageUpdateSm, Cobble::SlabAllocationPattern{0});     \
      Pivot::TypeData typeData() const override;                                                      \
      static Pivot::Ptr<LocalUsageUpdateSm> LocalUsageUpdateSmIs(ResourcePtr const& resPtr,           \
                                                                 Instance##Name##Linkage* parent);    \
    };                                                                                                \
    using LinkageOf<Instance, Name##Kind>::LinkageOf;                                                 \
    COBBLE_SLAB(Instance##Name##Linkage, Cobble::SlabAllocationPattern{0});                           \
    Pivot::TypeData typeData() const override;                                                        \
    static Pivot::Ptr<Instance##Name##Linkage> Instance##Name##LinkageIs(                             \
        SwTable* swTable, Pivot::Ptr<ClientInstance> const& resTblClient);                            \
    static Pivot::Ptr<LocalUsageUpdateSm> localUsageUpdateSmFactory(ResourcePtr const& resPtr,        \
                                                                    Instance##Name##Linkage* parent); \
  };                                                                                                  \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##Name##Linkage> instance##Name##LinkageFactory(               \
      Instance##SwTable* swTable, Pivot::Ptr<Name##Kind::ClientInstance> const& resTblClient);        \
  extern template class LocalUsageUpdateSmOf<Instance, Name##Kind>;                                   \
  extern template class LinkageOf<Instance, Name##Kind>;
#define LOAM_INLIF_DEFINE_LINKAGES(Instance, instance) \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_DEFINE_LINKAGE, Instance, instance)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DEFINE_LINKAGES)
#undef LOAM_INLIF_DEFINE_LINKAGES
#undef LOAM_INLIF_DEFINE_LINKAGE

}  // namespace LoamInLif
