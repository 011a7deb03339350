// What the source of each instance stamps: the instantiation of every template of the family, and the factories
// of its classes. Included there and nowhere else, so that the three are compiled beside each other.
#pragma once

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/interface/InterfaceOf-defs.h"
#include "LoamInLif/linkage/LinkageOf-defs.h"
#include "LoamInLif/log/EntryLogOf-defs.h"
#include "LoamInLif/table/InfraTypesOf-defs.h"
#include "LoamInLif/table/SwTableIteratorStateOf-defs.h"
#include "LoamInLif/table/SwTableOf-defs.h"

// A class is made by its own ...Is operation and by a free factory, which do the same.
#define LOAM_INLIF_MAKERS(Class, factory, parameters, arguments) \
  Pivot::Ptr<Class> Class::Class##Is parameters {                \
    return Pivot::make<Class> arguments;                         \
  }                                                              \
  Pivot::Ptr<Class> factory parameters {                         \
    return Pivot::make<Class> arguments;                         \
  }

// A LocalUsageUpdateSm comes with its notification active.
#define LOAM_INLIF_INSTANTIATE_LINKAGE(Instance, instance, Name, name)                                    \
  template class LocalUsageUpdateSmOf<Instance, Name##Kind>;                                              \
  template class LinkageOf<Instance, Name##Kind>;                                                         \
  LOAM_INLIF_MAKERS(Instance##Name##Linkage, instance##Name##LinkageFactory,                              \
                    (Instance##SwTable * swTable, Pivot::Ptr<Name##Kind::ClientInstance> const& client),  \
                    (swTable, client))                                                                    \
  auto Instance##Name##Linkage::LocalUsageUpdateSm::LocalUsageUpdateSmIs(ResourcePtr const& resPtr,       \
                                                                         Instance##Name##Linkage* parent) \
      ->Pivot::Ptr<LocalUsageUpdateSm> {                                                                  \
    return makeActive<LocalUsageUpdateSm>(resPtr, parent);                                                \
  }                                                                                                       \
  auto Instance##Name##Linkage::localUsageUpdateSmFactory(ResourcePtr const& resPtr,                      \
                                                          Instance##Name##Linkage* parent)                \
      ->Pivot::Ptr<LocalUsageUpdateSm> {                                                                  \
    return LocalUsageUpdateSm::LocalUsageUpdateSmIs(resPtr, parent);                                      \
  }

#define LOAM_INLIF_INSTANTIATE_TABLE(Instance, instance)                                                   \
  template class SwTableOf<Instance>;                                                                      \
  template class SwTableEntriesOf<Instance>;                                                               \
  template class SwTableIteratorStateOf<Instance>;                                                         \
  template class EntryWrapperOf<Instance>;                                                                 \
  template class ResolverEntryOf<Instance>;                                                                \
  template class SwTableHelperBaseOf<Instance>;                                                            \
  LOAM_INLIF_MAKERS(Instance##SwTable, instance##SwTableFactory,                                           \
                    (Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId, \
                     Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,                             \
                     Pivot::Ptr<Instance##EntryLog> const& entryLog,                                       \
                     Pivot::Ptr<Asic::GroupResolver> const& groupResolver),                                \
                    (tableName, tableId, unitId, swTableSet, entryLog, groupResolver))                     \
  LOAM_INLIF_MAKERS(Instance##SwTableIteratorState, instance##SwTableIteratorStateFactory, (), ())         \
  LOAM_INLIF_MAKERS(Instance##SwTableHelperBase, instance##SwTableHelperBaseFactory, (), ())               \
  LOAM_INLIF_MAKERS(                                                                                       \
      Instance##EntryWrapper, instance##EntryWrapperFactory,                                               \
      (EntryWrapperCore::Entry const& entry, EntryWrapperCore::EntryHandlePtr const& entryHandle),         \
      (entry, entryHandle))                                                                                \
  LOAM_INLIF_MAKERS(                                                                                       \
      Instance##ResolverEntry, instance##ResolverEntryFactory,                                             \
      (Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle, Asic::EntryFlags flags,  \
       Instance##SwTable* swTable, Pivot::Ptr<Instance##EntryWrapper> const& swTableEntry),                \
      (dependantEntryHandle, flags, swTable, swTableEntry))                                                \
  Pivot::Ptr<Instance##SwTable::EntryHandle> Instance##SwTable::EntryHandle::EntryHandleIs(                \
      Asic::EntryVersion const& entryVersion, Key const& key,                                              \
      LoamTunnelNiLib::InLifModelSwTableBase* swTable) {                                                   \
    return Pivot::make<EntryHandle>(entryVersion, key, swTable);                                           \
  }                                                                                                        \
  Pivot::Ptr<Instance##SwTable::EntryHandle> Instance##SwTable::entryHandleFactory(                        \
      Asic::EntryVersion const& entryVersion, Key const& key,                                              \
      LoamTunnelNiLib::InLifModelSwTableBase* swTable) {                                                   \
    return Pivot::make<EntryHandle>(entryVersion, key, swTable);                                           \
  }

#define LOAM_INLIF_INSTANTIATE_LOG(Instance, instance)                                          \
  template class EntryLogOf<Instance>;                                                          \
  LOAM_INLIF_MAKERS(                                                                            \
      Instance##EntryLog, instance##EntryLogFactory,                                            \
      (Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,       \
       Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName), \
      (tableId, entityManager, groupInterface, agentName))

#define LOAM_INLIF_INSTANTIATE(Instance, instance)                            \
  namespace LoamInLif {                                                       \
  template class InterfaceOf<Instance>;                                       \
  LOAM_INLIF_INSTANTIATE_LOG(Instance, instance)                              \
  LOAM_INLIF_INSTANTIATE_TABLE(Instance, instance)                            \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_INSTANTIATE_LINKAGE, Instance, instance) \
  }
