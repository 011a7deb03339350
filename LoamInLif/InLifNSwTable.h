// The software tables of the three instances with their handles, snapshots and iterator states, and their
// factories. What they do stands in SwTableOf.h, SwTableEntriesOf.h and SwTableIteratorStateOf.h.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/table/SwTableEntriesOf.h"
#include "LoamInLif/table/SwTableIteratorStateOf.h"
#include "LoamInLif/table/SwTableOf.h"

namespace LoamInLif {

#define LOAM_INLIF_DECLARE_SW_TABLE(Instance, instance)                                                      \
  extern template class SwTableOf<Instance>;                                                                 \
  extern template class SwTableEntriesOf<Instance>;                                                          \
  extern template class SwTableIteratorStateOf<Instance>;                                                    \
  class LOAM_INLIF_EXPORT Instance##SwTable : public SwTableOf<Instance> {                                   \
   public:                                                                                                   \
    using SwTableOf<Instance>::SwTableOf;                                                                    \
    COBBLE_HEAP(Instance##SwTable);                                                                          \
    Pivot::TypeData typeData() const override;                                                               \
    static Pivot::Ptr<Instance##SwTable> Instance##SwTableIs(                                                \
        Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,                \
        Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,                                            \
        Pivot::Ptr<Instance##EntryLog> const& entryLog,                                                      \
        Pivot::Ptr<Asic::GroupResolver> const& groupResolver);                                               \
                                                                                                             \
    class LOAM_INLIF_EXPORT EntryHandle : public LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle {       \
     public:                                                                                                 \
      using LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle::EntryHandle;                                \
      COBBLE_SLAB(Instance##SwTable::EntryHandle, Cobble::SlabAllocationPattern{1});                         \
      Pivot::TypeData typeData() const override;                                                             \
      static Pivot::Ptr<EntryHandle> EntryHandleIs(Asic::EntryVersion const& entryVersion, Key const& key,   \
                                                   LoamTunnelNiLib::InLifModelSwTableBase* swTable);         \
    };                                                                                                       \
    static Pivot::Ptr<EntryHandle> entryHandleFactory(Asic::EntryVersion const& entryVersion,                \
                                                      Key const& key,                                        \
                                                      LoamTunnelNiLib::InLifModelSwTableBase* swTable);      \
                                                                                                             \
    class LOAM_INLIF_EXPORT SwTableEntries_py : public SwTableEntriesOf<Instance> {                          \
     public:                                                                                                 \
      COBBLE_SLAB(Instance##SwTable::SwTableEntries_py, Cobble::SlabAllocationPattern{0});                   \
      Pivot::TypeData typeData() const override;                                                             \
    };                                                                                                       \
  };                                                                                                         \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##SwTable> instance##SwTableFactory(                                  \
      Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,                  \
      Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,                                              \
      Pivot::Ptr<Instance##EntryLog> const& entryLog, Pivot::Ptr<Asic::GroupResolver> const& groupResolver); \
                                                                                                             \
  class LOAM_INLIF_EXPORT Instance##SwTableIteratorState : public SwTableIteratorStateOf<Instance> {         \
   public:                                                                                                   \
    COBBLE_SLAB(Instance##SwTableIteratorState, Cobble::SlabAllocationPattern{0});                           \
    Pivot::TypeData typeData() const override;                                                               \
    static Pivot::Ptr<Instance##SwTableIteratorState> Instance##SwTableIteratorStateIs();                    \
  };                                                                                                         \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##SwTableIteratorState> instance##SwTableIteratorStateFactory();
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_SW_TABLE)
#undef LOAM_INLIF_DECLARE_SW_TABLE

}  // namespace LoamInLif
