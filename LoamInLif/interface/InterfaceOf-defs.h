// The bodies of InterfaceOf<I>. Included by the one source file per instance that instantiates it.
#pragma once

#include "Asic/Constants.h"
#include "Asic/GroupInterface.h"
#include "Asic/OrderedSwTableSet.h"
#include "Asic/OrderedTableInterface.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "FlashNote/Ring.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Kinds.h"
#include "LoamInLif/Resources.h"
#include "LoamInLif/interface/InterfaceOf.h"
#include "LoamInLif/interface/InterfaceTexts.h"
#include "OrderedTable/TableName/TableName.h"
#include "Shoal/EntityManager.h"
#include "Statehub/EntityManager.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace LoamInLif {

template <class I>
Pivot::Ptr<typename InterfaceOf<I>::Interface> InterfaceOf<I>::getIntf(
    Pivot::Ptr<Asic::OrderedTableInterface> const& ordTblIntf) {
  auto const singleton = Asic::SwTableInterfacesSingleton::singleton();
  if (auto const present = singleton->swTableIntf(I::interfaceKey)) {
    return boost::static_pointer_cast<Interface>(present);
  }
  return Pivot::make<Interface>(ordTblIntf);
}

template <class I>
InterfaceOf<I>::InterfaceOf(Pivot::Ptr<Asic::OrderedTableInterface> const& orderedTableIntf)
    : Asic::TableInterfaceBase(orderedTableIntf) {
  handleInitialized();
}

template <class I>
InterfaceOf<I>::~InterfaceOf() {
  onDelete();
  // The log goes before the status and the set, which the tables of the set still use.
  entryLog_.reset();
  swTableStatus_.reset();
  swTableSet_.reset();
}

template <class I>
void InterfaceOf<I>::onDelete() {
  VEX_TRACE(trace_, 2, " onDelete ");
  orderedTableIntf()->swTableIntfDel(I::interfaceKey);
}

// The interface is registered last, when everything else stands.
template <class I>
void InterfaceOf<I>::handleInitialized() {
  auto const singleton = Asic::SwTableInterfacesSingleton::singleton();
  VEX_ASSERT_MSG(!singleton->swTableIntfHas(I::interfaceKey), InterfaceTexts<I>::notRegistered,
                 "Interface already created");
  orderedTableIntf()->makeGroupIntf(agentName_, groupName_, tableId().agentAndGroupId());
  auto const groupIntf = group();
  VEX_TRACE(trace_, 3, " Creating entry log for {}", tableId());
  entryLogIs(tableId(), orderedTableIntf()->entityManager(), groupIntf, agentName_);
  swTableStatusIs(tableId());
  takePendingWork(*groupIntf);
  VEX_TRACE(trace_, 2, " Entry log created for table id: {} at version: {}", tableId(),
            entryLog_->tableVersion());
  groupIntf->swTableSetIs(swTableSetIs(tableId(), swTableStatus_));
  orderedTableIntf()->swTableIntfIs(I::interfaceKey, this);
  singleton->swTableIntfIs(I::interfaceKey, Pivot::Ptr<Asic::TableInterfaceBase>(this));
}

// The group of the family, which must exist: it goes with the framework's take-down.
template <class I>
Pivot::Ptr<Asic::GroupInterface> InterfaceOf<I>::group() const {
  auto groupIntf = orderedTableIntf()->group(Asic::Constants::canonicalizeGroupName(agentName_, groupName_));
  VEX_ASSERT_MSG(groupIntf, "groupIntf", "{}: no group {} {}; it was taken down, or never made", tableName_,
                 agentName_, groupName_);
  groupIntf->groupResolver()->callCheck().check(I::interfaceKey);
  return groupIntf;
}

// What an earlier run left: records that the hardware has taken go, and if there are later ones the table
// has work pending before any client has written.
template <class I>
void InterfaceOf<I>::takePendingWork(Asic::GroupInterface& group) {
  if (!group.tableVersionMap().has(tableId())) return;
  Asic::LogVersion const version = group.tableVersionMap().row(tableId()).logVersion();
  entryLog_->cleanupEntryLog(version);
  VEX_TRACE(trace_, 3, " Cleaned entry log until table version: {}", version);
  if (entryLog_->tableVersion() > version) {
    VEX_TRACE(trace_, 2, " Turning ON pendingHwWrites");
    swTableStatus_->pendingHwWritesIs(true);
  }
}

// --- the three objects that are made from arguments ---

template <class I>
Pivot::Ptr<typename InterfaceOf<I>::EntryLog> InterfaceOf<I>::entryLogIs(
    Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
    Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName) {
  if (!entryLog_ || entryLog_->tableId() != tableId || entryLog_->entityManager() != entityManager ||
      entryLog_->groupInterface() != groupInterface || entryLog_->agentName() != agentName) {
    entryLog_ = Pivot::make<EntryLog>(tableId, entityManager, groupInterface, agentName);
  }
  return entryLog_;
}

template <class I>
Pivot::Ptr<Asic::OrderedSwTableStatus> InterfaceOf<I>::swTableStatusIs(Asic::SwTableId tableId) {
  if (!swTableStatus_ || swTableStatus_->tableId() != tableId) {
    swTableStatus_ = Pivot::make<Asic::OrderedSwTableStatus>(tableId);
  }
  return swTableStatus_;
}

template <class I>
Pivot::Ptr<Asic::OrderedSwTableSet> InterfaceOf<I>::swTableSetIs(
    Asic::SwTableId tableId, Pivot::Ptr<Asic::OrderedSwTableStatus> const& swTableStatus) {
  if (!swTableSet_ || swTableSet_->tableId() != tableId || swTableSet_->status() != swTableStatus) {
    swTableSet_ = Pivot::make<Asic::OrderedSwTableSet>(tableId, swTableStatus);
  }
  return swTableSet_;
}

// A client's file knows the names of these classes alone, and cannot let go of one.
template <class I>
Pivot::Ptr<typename InterfaceOf<I>::EntryLog> InterfaceOf<I>::entryLogDel() {
  return std::exchange(entryLog_, nullptr);
}
template <class I>
Pivot::Ptr<Asic::OrderedSwTableStatus> InterfaceOf<I>::swTableStatusDel() {
  return std::exchange(swTableStatus_, nullptr);
}
template <class I>
Pivot::Ptr<Asic::OrderedSwTableSet> InterfaceOf<I>::swTableSetDel() {
  return std::exchange(swTableSet_, nullptr);
}

// --- tables ---

template <class I>
Pivot::Ptr<typename InterfaceOf<I>::SwTable> InterfaceOf<I>::makeSwTable(
    Asic::UnitId unitId, Pivot::Ptr<SwTableHelperBase> const& swTableHelper, bool reset) {
  VEX_TRACE(trace_, 8, "unitId: {}", unitId);
  VEX_ASSERT_MSG(unitId <= Asic::kMostUnit, "unitId <= Asic::kMostUnit", "unit {}, expected 0 to {}", unitId,
                 Asic::kMostUnit);
  auto const groupIntf = group();
  VEX_ASSERT(groupIntf->swTableSetHas(tableId()), "groupIntf->swTableSetHas( tableId() )");
  if (auto const existing = swTableSet_->swTable(unitId)) {
    return updateExistingTable(existing, swTableHelper, reset);
  }
  Asic::LogVersion tableVersion;
  if (groupIntf->tableVersionMap().has(tableId())) {
    tableVersion = groupIntf->tableVersionMap().row(tableId()).logVersion();
  }
  entryLog_->mountShoalConfig(unitId, tableVersion);
  auto const table = buildTable(unitId, swTableHelper, *groupIntf);
  startTable(table, reset, tableVersion, *groupIntf);
  return table;
}

template <class I>
Pivot::Ptr<typename InterfaceOf<I>::SwTable> InterfaceOf<I>::updateExistingTable(
    Pivot::Ptr<Asic::OrderedSwTable> const& table, Pivot::Ptr<SwTableHelperBase> const& swTableHelper,
    bool reset) {
  VEX_TRACE(trace_, 3, "swTable with unitId: {} exists", table->unitId());
  auto const existingTbl = boost::dynamic_pointer_cast<SwTable>(table);
  VEX_ASSERT(existingTbl, "existingTbl");
  if (swTableHelper) {
    VEX_TRACE(trace_, 2, "Update software table helper");
    existingTbl->swTableHelperIs(swTableHelper);
  }
  if (reset) {
    VEX_TRACE(trace_, 2, " Clearing entries for table id: {}", tableId());
    existingTbl->clearTable(false);
  }
  return existingTbl;
}

// A table with its ten linkages. Nobody else knows it yet.
template <class I>
Pivot::Ptr<typename InterfaceOf<I>::SwTable> InterfaceOf<I>::buildTable(
    Asic::UnitId unitId, Pivot::Ptr<SwTableHelperBase> const& swTableHelper, Asic::GroupInterface& group) {
  Pivot::Ptr<Asic::CanonicalTableName const> const name = Pivot::make<Asic::CanonicalTableName>(
      Asic::OrderedTableType::orderedSwTable, groupName_, tableNamespace_, tableName_);
  auto const table =
      Pivot::make<SwTable>(name, tableId(), unitId, swTableSet_.get(), entryLog_, group.groupResolver());
  if (swTableHelper) table->swTableHelperIs(swTableHelper);
  table->statusIs(swTableStatus_);
  forEachKind([&]<class Kind>() { makeLinkage<Kind>(*table); });
  return table;
}

// Each linkage has a client of its own, also where two share a resource table.
template <class I>
template <class Kind>
void InterfaceOf<I>::makeLinkage(SwTable& table) {
  auto const typedResourceTable = resourceTable<Kind>(*orderedTableIntf());
  auto const client = typedResourceTable->makeClientInstance();
  std::uint32_t const entries = typedResourceTable->entrys();
  FLASH_NOTE(Kind::startMessage, "i", entries);
  VEX_TRACE(trace_, 2, Kind::startMessage, entries);
  table.template linkageIs<Kind>(Pivot::make<typename I::template Linkage<Kind>>(&table, client));
}

// The last stage: contents first, then the framework sees the table, then it begins to mark.
template <class I>
void InterfaceOf<I>::startTable(Pivot::Ptr<SwTable> const& table, bool reset, Asic::LogVersion tableVersion,
                                Asic::GroupInterface& group) {
  Asic::UnitId const unitId = table->unitId();
  if (reset) {
    FLASH_NOTE(InterfaceTexts<I>::clearing, "s", unitId);
    VEX_TRACE(trace_, 2, InterfaceTexts<I>::clearing, unitId);
    table->clearTable(false);
  } else {
    table->restoreEntries();
    std::uint32_t const entries = table->entrys();
    FLASH_NOTE(InterfaceTexts<I>::restored, "is", entries, unitId);
    VEX_TRACE(trace_, 2, InterfaceTexts<I>::restored, entries, unitId);
  }
  swTableSet_->swTableIs(table);
  table->tableStatusVersion(tableVersion);
  group.sweepableSwTableSetIs(table);
  if (!reset && !orderedTableIntf()->suppressInitialMark()) table->mark();
}

template <class I>
void InterfaceOf<I>::reconcile() {
  VEX_TRACE(trace_, 8, "");
  auto const& central = orderedTableIntf()->entityManager();
  auto const shared = VexSharedMem::EntityManager::getEntityManager(central->systemName(), central->local());
  Pivot::String const path = Asic::Constants::canonicalGroupTableConfigShoalPathBase(
      Asic::Constants::canonicalizeGroupName(agentName_, groupName_), tableNamespace_, tableName_);
  auto const found = shared->findEntities(path, VexSharedMem::VexSharedMemType::collection);
  VEX_TRACE(trace_, 3, " No. of config entities found: {}, in shoal path: {}", found->size(), path);
  for (auto const& [configPath, records] : found->count()) {
    auto const unitId = entryLog_->unitOf(configPath);
    if (!unitId) continue;
    if (Pivot::Status const status = reconcileUnit(*unitId); !status) {
      VEX_TRACE(trace_, 1, " Inactive unit id: {} is passed over, it cannot be mounted: {}", *unitId,
                status.message());
    }
  }
}

template <class I>
Pivot::Status InterfaceOf<I>::reconcileUnit(Asic::UnitId unitId) {
  if (swTableSet_->swTableHas(unitId)) return Pivot::Status::ok();
  VEX_TRACE(trace_, 3, " Found inactive unit id: {} ", unitId);
  Pivot::Status status = entryLog_->configMountable(unitId);
  if (status) makeSwTable(unitId, nullptr, true);
  return status;
}

template <class I>
Vex::TraceHandle InterfaceOf<I>::trace_(I::interfaceFacility);

}  // namespace LoamInLif
