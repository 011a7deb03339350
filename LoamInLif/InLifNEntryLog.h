// The entry logs of the three instances, with their factories. What they do stands in EntryLogOf.h.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/log/EntryLogOf.h"

namespace LoamInLif {

#define LOAM_INLIF_DECLARE_ENTRY_LOG(Instance, instance)                                         \
  extern template class EntryLogOf<Instance>;                                                    \
  class LOAM_INLIF_EXPORT Instance##EntryLog : public EntryLogOf<Instance> {                     \
   public:                                                                                       \
    using EntryLogOf<Instance>::EntryLogOf;                                                      \
    COBBLE_SLAB(Instance##EntryLog, Cobble::SlabAllocationPattern::kDefault)                     \
    Pivot::TypeData typeData() const override;                                                   \
    static Pivot::Ptr<Instance##EntryLog> Instance##EntryLogIs(                                  \
        Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,       \
        Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName); \
  };                                                                                             \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##EntryLog> instance##EntryLogFactory(                    \
      Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,         \
      Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName);
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_ENTRY_LOG)
#undef LOAM_INLIF_DECLARE_ENTRY_LOG

}  // namespace LoamInLif
