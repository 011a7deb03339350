#pragma once
// The instantiation of one instance's table, and its factories: each InLif<N>SwTable.cpp stamps its own with
// this, so that the three are compiled beside each other.
#include "LoamInLif/SwTableIteratorStateOf-defs.h"
#include "LoamInLif/SwTableOf-defs.h"

#define LOAM_INLIF_DEFINE_SW_TABLE(Instance, instance)                                                      \
  template class SwTableOf<Instance>;                                                                       \
  template class SwTableEntriesOf<Instance>;                                                                \
  template class SwTableIteratorStateOf<Instance>;                                                          \
  Pivot::Ptr<Instance##SwTable> Instance##SwTable::Instance##SwTableIs(                                     \
      Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,                 \
      Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,                                             \
      Pivot::Ptr<Instance##EntryLog> const& entryLog,                                                       \
      Pivot::Ptr<Asic::GroupResolver> const& groupResolver) {                                               \
    return Pivot::make<Instance##SwTable>(tableName, tableId, unitId, swTableSet, entryLog, groupResolver); \
  }                                                                                                         \
  Pivot::Ptr<Instance##SwTable> instance##SwTableFactory(                                                   \
      Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,                 \
      Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,                                             \
      Pivot::Ptr<Instance##EntryLog> const& entryLog,                                                       \
      Pivot::Ptr<Asic::GroupResolver> const& groupResolver) {                                               \
    return Pivot::make<Instance##SwTable>(tableName, tableId, unitId, swTableSet, entryLog, groupResolver); \
  }                                                                                                         \
  Pivot::Ptr<Instance##SwTable::EntryHandle> Instance##SwTable::EntryHandle::EntryHandleIs(                 \
      Asic::EntryVersion const& entryVersion, Key const& key,                                               \
      LoamTunnelNiLib::InLifModelSwTableBase* swTable) {                                                    \
    return Pivot::make<EntryHandle>(entryVersion, key, swTable);                                            \
  }                                                                                                         \
  Pivot::Ptr<Instance##SwTable::EntryHandle> Instance##SwTable::entryHandleFactory(                         \
      Asic::EntryVersion const& entryVersion, Key const& key,                                               \
      LoamTunnelNiLib::InLifModelSwTableBase* swTable) {                                                    \
    return Pivot::make<EntryHandle>(entryVersion, key, swTable);                                            \
  }                                                                                                         \
  Pivot::Ptr<Instance##SwTableIteratorState>                                                                \
      Instance##SwTableIteratorState::Instance##SwTableIteratorStateIs() {                                  \
    return Pivot::make<Instance##SwTableIteratorState>();                                                   \
  }                                                                                                         \
  Pivot::Ptr<Instance##SwTableIteratorState> instance##SwTableIteratorStateFactory() {                      \
    return Pivot::make<Instance##SwTableIteratorState>();                                                   \
  }
