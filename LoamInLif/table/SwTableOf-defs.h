// Bodies of SwTableOf; included where an instance is instantiated, and nowhere else.
#pragma once

#include <typeinfo>

#include "Asic/GroupResolver.h"
#include "Asic/OrderedSwTableSet.h"
#include "FlashNote/Ring.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/table/OldEntry.h"
#include "OrderedTable/OrderedSwTableAccessor-defs.h"
#include "OrderedTable/SetAside.h"
#include "Vex/Exceptions.h"
#include "Vex/Trace.h"

namespace LoamInLif {

// The engines of an instance, made for one call. They hold nothing but the table.
template <class I>
using Engine = Asic::OrderedSwTableAccessor<typename I::SwTable>;
template <class I>
using ReadEngine = Asic::OrderedSwTableAccessor<typename I::SwTable const>;

template <class I>
Vex::TraceHandle const swTableTrace{I::swTableFacility};

template <class I>
class SwTableOf<I>::SetAsideOfTable final : public SetAside {
 public:
  explicit SetAsideOfTable(SwTableOf& table) : table_(table) {}

  // An update runs a client's hook, which may let go of the table.
  void retry() override {
    Pivot::Ptr<SwTable> const held(table_.self());
    held->linkages_.apply([&](auto const&... linkages) { Engine<I>(held.get()).redoSetAside(linkages...); });
  }

 private:
  SwTableOf& table_;
};

template <class I>
SwTableOf<I>::SwTableOf(Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,
                        Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet,
                        Pivot::Ptr<EntryLog> const& entryLog,
                        Pivot::Ptr<Asic::GroupResolver> const& groupResolver)
    : InLifModelSwTableBase(tableName, tableId, unitId, swTableSet),
      entryLog_(entryLog),
      groupResolver_(groupResolver),
      setAside_(Pivot::make<SetAsideOfTable>(*this)) {
  handleInitialized();
}

template <class I>
SwTableOf<I>::~SwTableOf() = default;

template <class I>
void SwTableOf<I>::handleInitialized() {
  VEX_TRACE(swTableTrace<I>, 8, "doesMarkSweep: True hwErrorHandling: False");
  swTableHelperIs(Pivot::make<SwTableHelperBase>());
  statsIs();
}

template <class I>
void SwTableOf<I>::doCreateHwTable() {}

template <class I>
void SwTableOf<I>::tableStatusVersion(Asic::LogVersion version) {
  Engine<I>(self()).tableStatusVersion(version);
}

template <class I>
bool SwTableOf<I>::hasPendingHwWrites() {
  bool const pending = !transientAddEntry_.empty() || !transientRemoveEntry_.empty() ||
                       transientRemoveAllVersion_.valid() ||
                       entryLog_->cleanedVersion() != entryLog_->tableVersion() || setAside_->any() ||
                       entryLog_->repairStands(unitId());
  VEX_TRACE(swTableTrace<I>, 3, " pendingHwWrites for swTable: tableId: {}, unitId{} is {}", tableId(),
            unitId(), pending);
  return pending;
}

template <class I>
void SwTableOf<I>::mark() {
  checkCall("mark");
  VEX_TRACE(swTableTrace<I>, 8, "");
  inMarkingStateIs(true);
}

template <class I>
void SwTableOf<I>::sweep() {
  checkCall("sweep");
  std::uint32_t const count = Engine<I>(self()).sweep();
  FLASH_NOTE("Swept {} entries", "i", count);
  VEX_TRACE(swTableTrace<I>, 6, "Swept {} entries", count);
}

template <class I>
auto SwTableOf<I>::entryWrite(Key const& key, Entry const& entry, Dependency const& dependantEntryHandle)
    -> Handle {
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return entryWriteWithResponseHandler(key, entry, dependantEntryHandle, ResponseHandler());
}

template <class I>
auto SwTableOf<I>::entryWriteWithResponseHandler(Key const& key, Entry const& entry,
                                                 Dependency const& dependantEntryHandle,
                                                 ResponseHandler const& handler) -> Handle {
  checkCall("entryWrite");
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return linkages_.apply([&](auto const&... linkages) {
    return Engine<I>(self()).entryWriteGeneric(key, entry, dependantEntryHandle, handler, linkages...);
  });
}

template <class I>
auto SwTableOf<I>::entryRemove(Key const& key, Dependency const& dependantEntryHandle) -> Handle {
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return entryRemoveWithResponseHandler(key, dependantEntryHandle, ResponseHandler());
}

template <class I>
auto SwTableOf<I>::entryRemoveWithResponseHandler(Key const& key, Dependency const& dependantEntryHandle,
                                                  ResponseHandler const& handler) -> Handle {
  checkCall("entryRemove");
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return Engine<I>(self()).entryRemoveGeneric(key, dependantEntryHandle, handler);
}

template <class I>
void SwTableOf<I>::entryRemoveAll(Dependency const& dependantEntryHandle) {
  VEX_TRACE(swTableTrace<I>, 8, "");
  entryRemoveAllWithResponseHandler(dependantEntryHandle, ResponseHandler());
}

template <class I>
void SwTableOf<I>::entryRemoveAllWithResponseHandler(Dependency const& dependantEntryHandle,
                                                     ResponseHandler const& handler) {
  checkCall("entryRemoveAll");
  VEX_TRACE(swTableTrace<I>, 8, "");
  Engine<I>(self()).entryRemoveAllGeneric(dependantEntryHandle, handler);
}

template <class I>
auto SwTableOf<I>::entryRead(Key const& key) const -> Entry {
  checkCall("entryRead");
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return ReadEngine<I>(self()).entryReadGeneric(key);
}

template <class I>
auto SwTableOf<I>::entry(Key const& key) const -> Entry {
  checkCall("entry");
  VEX_TRACE(swTableTrace<I>, 8, " key: {}", key);
  return ReadEngine<I>(self()).entryReadGeneric(key);
}

template <class I>
bool SwTableOf<I>::entryHas(Key const& key) const {
  checkCall("entryHas");
  return ReadEngine<I>(self()).entryHas(key);
}

template <class I>
std::uint32_t SwTableOf<I>::entrys() const {
  checkCall("entrys");
  return ReadEngine<I>(self()).entrys();
}

template <class I>
auto SwTableOf<I>::entryIteratorConst(Key const& key) const -> EntryIteratorConst {
  return EntryIteratorConst(Pivot::Ptr<InLifModelSwTableBase const>(this), initIterStateFromKey(key));
}

template <class I>
auto SwTableOf<I>::entryIteratorConst() const -> EntryIteratorConst {
  return EntryIteratorConst(Pivot::Ptr<InLifModelSwTableBase const>(this), initIterState());
}

template <class I>
Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> SwTableOf<I>::initIterState() const {
  checkCall("initIterState");
  return ReadEngine<I>(self()).initIterState();
}

template <class I>
Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> SwTableOf<I>::initIterStateFromKey(
    Key const& key) const {
  checkCall("initIterStateFromKey");
  return ReadEngine<I>(self()).initIterStateFromKey(key);
}

template <class I>
void SwTableOf<I>::commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry) {
  linkages_.apply(
      [&](auto const&... linkages) { Engine<I>(self()).commitEntry(resolvedEntry, linkages...); });
}

template <class I>
Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> SwTableOf<I>::updateEntry(Key const& key) {
  return linkages_.apply(
      [&](auto const&... linkages) { return Engine<I>(self()).updateEntry(key, linkages...); });
}

template <class I>
Pivot::Ptr<Asic::NeededEntry> SwTableOf<I>::getNeededEntrySet(
    Pivot::Ptr<EntryWrapper const> const& entry) const {
  return linkages_.apply(
      [&](auto const&... linkages) { return ReadEngine<I>(self()).getNeededEntrySet(entry, linkages...); });
}

template <class I>
bool SwTableOf<I>::isResolverEntryResolved(Pivot::Ptr<ResolverEntry> const& resolverEntry) {
  return linkages_.apply([&](auto const&... linkages) {
    return Engine<I>(self()).isResolverEntryResolved(resolverEntry, linkages...);
  });
}

template <class I>
Asic::WaitCauses SwTableOf<I>::waitCauses(ResolverEntry const& resolverEntry) const {
  return linkages_.apply(
      [&](auto const&... linkages) { return ReadEngine<I>(self()).waitCauses(resolverEntry, linkages...); });
}

template <class I>
void SwTableOf<I>::setRsrcPtrs(Pivot::Ptr<EntryWrapper> const& entry, bool refresh) {
  linkages_.apply(
      [&](auto const&... linkages) { Engine<I>(self()).setRsrcPtrs(entry, refresh, linkages...); });
}

template <class I>
auto SwTableOf<I>::entryFromConfig(Key const& key) const -> Entry {
  return ReadEngine<I>(self()).entryFromConfig(key);
}

template <class I>
void SwTableOf<I>::restoreEntries() {
  linkages_.apply([&](auto const&... linkages) { Engine<I>(self()).restoreEntries(linkages...); });
}

template <class I>
void SwTableOf<I>::clearTable(bool updateResources) {
  VEX_TRACE(swTableTrace<I>, 8, "");
  linkages_.apply([&](auto const&... linkages) {
    Engine<I>(self()).delAllEntries(updateResources, nullptr, nullptr, linkages...);
  });
}

template <class I>
void SwTableOf<I>::fillSnapshot(SwTableEntriesOf<I>& snapshot) const {
  auto const state = initIterState();
  for (Entry current = state->maybeUpdateCurrentEntry(); state->state().entryValid();
       current = state->maybeUpdateCurrentEntry()) {
    snapshot.tableEntriesIs(current);
  }
}

template <class I>
auto SwTableOf<I>::configMap() const -> ConfigMap* {
  auto const config = entryLog_->tableConfigShoal(unitId());
  return config ? &config->swTableEntries() : nullptr;
}

template <class I>
void SwTableOf<I>::checkCall(char const* call) const {
  groupResolver_->callCheck().check(call, this);
}

// Attributes.

template <class I>
void SwTableOf<I>::refuseNull(char const* attribute, Pivot::FieldId field) const {
  Vex::throwMutatorArgNullPointerException(typeData().module->name, typeData().name(), attribute, field);
}

template <class I>
void SwTableOf<I>::swTableHelperIs(Pivot::Ptr<SwTableHelperBase> const& helper) {
  if (!helper) refuseNull("swTableHelper", kFieldSwTableHelper);
  Pivot::attributeIs(publisher(), kFieldSwTableHelper, swTableHelper_, helper);
}

template <class I>
bool SwTableOf<I>::hasDefaultHooks() const {
  SwTableHelperBase const& helper = *swTableHelper_;
  return typeid(helper) == typeid(SwTableHelperBase);
}

}  // namespace LoamInLif
