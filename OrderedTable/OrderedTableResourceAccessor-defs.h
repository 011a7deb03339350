// Bodies of SwTableResourceAccessor. Included where linkages are instantiated, and nowhere else.
#pragma once

#include <absl/cleanup/cleanup.h>

#include <cstdint>
#include <optional>
#include <utility>

#include "Bursar/ResourceHandle.h"
#include "OrderedTable/OrderedSwTableAccessor-defs.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"
#include "OrderedTable/RestoreFindings.h"
#include "Vex/Assert.h"

namespace Asic {

// What the state of a resource means for an entry. Null: the entry needs none. A state that no resource shows ends
// the process.
inline EntryState resolutionStateOf(BursarResourceTable::ResourceHandle const* handle) {
  if (handle == nullptr) return EntryState::entryStateDone;
  switch (handle->entryState()) {
    case EntryState::entryStateDone:
      return EntryState::entryStateDone;
    case EntryState::entryStateUnresolved:
    case EntryState::entryStateInLog:
      return EntryState::entryStateUnresolved;
    case EntryState::entryStateRejected:
    case EntryState::entryStateFailed:
    case EntryState::entryStateResolveFailed:
      return EntryState::entryStateResolveFailed;
  }
  VEX_ASSERT(false, "false && \"Unhandled resHandle entryState\"");
  return EntryState::entryStateResolveFailed;
}

template <class ResourceLinkage>
Vex::TraceHandle const& SwTableResourceAccessor<ResourceLinkage>::_defaultTraceHandle() {
  static Vex::TraceHandle const handle(Linkage::className);
  return handle;
}

template <class ResourceLinkage>
EntryState SwTableResourceAccessor<ResourceLinkage>::entryResolutionState(ConstEntryPtr const& entry) const {
  return resolutionStateOf(linkage_->resourceHandle(entry).get());
}

template <class ResourceLinkage>
Pivot::Ptr<NeededEntry> SwTableResourceAccessor<ResourceLinkage>::getNeededEntrySet(
    ConstEntryPtr const& entry) const {
  auto needed = Pivot::make<NeededEntry>();
  auto const& resource = linkage_->resourceHandle(entry);
  if (!resource) return needed;
  for (TableVersion const& version : resource->neededEntry()->versions()) needed->add(version);
  for (TableVersion const& version : needed->versions()) {
    VEX_TRACE_AT(_defaultTraceHandle(), 9, kFileName, "neededVersion: {}", version);
  }
  return needed;
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::resolveEntry(EntryPtr const& entry) const {
  Key const& resKey = linkage_->resourceKey(entry);
  if (Linkage::isNullKey(resKey)) return;
  auto const& held = linkage_->resourceHandle(entry);
  if (held && linkage_->resTblClient()->stands(*held, resKey)) return;
  linkage_->resourceHandleIs(entry, linkage_->resTblClient()->request(resKey, nullptr));
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::setResourceHandle(EntryPtr const& entry) const {
  Key const& resKey = linkage_->resourceKey(entry);
  if (Linkage::isNullKey(resKey)) return;
  if (auto const sm = linkage_->entryUsageSm(resKey)) linkage_->resourceHandleIs(entry, sm->resPtr());
}

// The old key goes first, so that an entry that moves from the last use of one key to a new one gives a
// release and then an acknowledgement.
template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::updateLocalUsage(EntryPtr const& swEntry,
                                                                OldEntry const& oldEntry,
                                                                bool isDeleted) const {
  VEX_TRACE_AT(_defaultTraceHandle(), 8, kFileName, "key: {}, isDeleted: {}, oldEntry:{}", swEntry->key(),
               isDeleted, oldEntry);
  if (isDeleted) {
    if (oldEntry) {
      deleteResKeyMapping(linkage_->resourceKeyFromEntry(oldEntry), swEntry->key(), swEntry->entryHandle());
    }
    return;
  }
  Key const& newKey = linkage_->resourceKey(swEntry);
  if (oldEntry) {
    Key const& oldKey = linkage_->resourceKeyFromEntry(oldEntry);
    if (oldKey.isEq(newKey)) return;
    deleteResKeyMapping(oldKey, swEntry->key(), swEntry->entryHandle());
  }
  addResKeyMapping(newKey, swEntry, true);
}

// No acknowledgement here: it follows from handleResourceChangeAtInit, when the entries are up to date. Within
// a walk over the whole table the linkage may put the mapping off until endRestore.
template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::restoreEntry(EntryPtr const& entry) const {
  Key const& resKey = linkage_->resourceKey(entry);
  if (Linkage::isNullKey(resKey) || linkage_->takeDownUse(resKey, entry)) return;
  addResKeyMapping(resKey, entry, false);
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::addResKeyMapping(Key const& resKey, EntryPtr const& entry,
                                                                bool ack) const {
  VEX_TRACE_AT(_defaultTraceHandle(), 8, kFileName, "resKey: {}, swKey: {}", resKey, entry->key());
  if (Linkage::isNullKey(resKey)) {
    VEX_TRACE_AT(_defaultTraceHandle(), 3, kFileName, "Null resKey: {}", resKey);
    return;
  }
  auto sm = linkage_->entryUsageSm(resKey);
  if (!sm) {
    sm = linkage_->entryUsageSmIs(linkage_->resourceHandle(entry));
    if (ack) {
      auto const resPtr = sm->resPtr();
      linkage_->resTblClient()->ackUpdate(resPtr, resPtr->updateVersion(), entry->entryHandle());
    }
  }
  sm->entryUsageIs(entry->key());
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::deleteResKeyMapping(
    Key const& resKey, SwKey const& swKey, Pivot::Ptr<OrderedSwTable::EntryHandle> const& entryHandle) const {
  VEX_TRACE_AT(_defaultTraceHandle(), 8, kFileName, "resKey: {}, swKey: {}", resKey, swKey);
  auto const sm = linkage_->entryUsageSm(resKey);
  if (!sm) return;
  sm->entryUsageDel(swKey);
  if (!sm->entryUsage().empty()) return;
  linkage_->resTblClient()->release(sm->resPtr(), entryHandle);
  linkage_->entryUsageSmDel(resKey);
}

// Users that come or go on the way do no harm: the walk goes on from the key.
template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::updateUsers(
    LocalUsageUpdateSm const& sm, Pivot::Ptr<typename Linkage::SwTable> const& swTable,
    Pivot::Ptr<OrderedSwTable::EntryHandle const>& lastHandle) const {
  auto const& users = sm.entryUsage();
  OrderedSwTableAccessor<typename Linkage::SwTable> const engine(swTable.get());
  // The last of those that need no update, as long as no other comes behind it.
  std::optional<SwKey> idle;
  // The handle of the last update counts. An account that is older than the walk may name a user that has no
  // committed entry; its update finds nothing, and then the user before it counts.
  bool const allIdle = !users.empty() && !_defaultTraceHandle().enabled(3) && engine.updatesAreIdle() &&
                       engine.updateIsIdle(users.last());
  if (allIdle) idle = users.last();
  for (auto at = allIdle ? users.end() : users.begin(); at != users.end();) {
    SwKey const swKey = *at;
    VEX_TRACE_AT(_defaultTraceHandle(), 3, kFileName, "Updating sw table entry for key: {}", swKey);
    if (engine.updateIsIdle(swKey)) {
      idle = swKey;
      ++at;
      continue;
    }
    if (auto handle = swTable->updateEntry(swKey)) {
      lastHandle = std::move(handle);
      idle.reset();
    }
    at = users.iteratorAfter(swKey);
  }
  if (!idle) return;
  if (auto handle = engine.standingHandle(*idle)) lastHandle = std::move(handle);
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::handleResourceChange(LocalUsageUpdateSm* sm) const {
  VEX_TRACE_AT(_defaultTraceHandle(), 8, kFileName, "");
  // An update runs a client's hook, which may take the key out of use: what the walk still needs is held
  // here. The table holds the linkage.
  Pivot::Ptr<LocalUsageUpdateSm> const heldSm(sm);
  Pivot::Ptr<typename Linkage::SwTable> const swTable(sm->swTable());
  auto const resPtr = sm->resPtr();
  if (resPtr->isPostReleaseProtoState()) {
    VEX_TRACE_AT(_defaultTraceHandle(), 3, kFileName, "Ignoring change for resourceKey: {} ", resPtr->key());
    return;
  }
  // A hook may even steer the resource. The update that it runs in has read the resource before and writes
  // that, so the users are gone through again; once, since the hook may do it at each update. The change that it
  // makes is handled here, and not within the hook.
  if (sm->changeUnderWay()) return;
  sm->changeUnderWayIs(true);
  absl::Cleanup const over = [sm] { sm->changeUnderWayIs(false); };
  Pivot::Ptr<OrderedSwTable::EntryHandle const> lastHandle;
  std::uint32_t const versionRead = resPtr->updateVersion();
  updateUsers(*sm, swTable, lastHandle);
  if (sm->parent() != nullptr && resPtr->updateVersion() != versionRead)
    updateUsers(*sm, swTable, lastHandle);
  // A key that went out of use on the way was released: there is nothing left to acknowledge.
  if (sm->parent() == nullptr) return;
  linkage_->resTblClient()->ackUpdate(resPtr, resPtr->updateVersion(), lastHandle);
}

// What handleResourceChange reads of an object whose users need no update.
template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::prefetch(LocalUsageUpdateSm const& sm) const {
  sm.prefetchResPtr();
  auto const* const found = linkage_->swTable()->restoreFindings();
  if (found != nullptr && !sm.entryUsage().empty()) found->standing.prefetch(sm.entryUsage().last());
}

template <class ResourceLinkage>
void SwTableResourceAccessor<ResourceLinkage>::handleResourceChangeAtInit() const {
  typename Linkage::WalkHint hint;
  for (auto sm = linkage_->entryUsageSmFirst(); sm; sm = linkage_->entryUsageSmAfter(sm->resKey(), hint)) {
    if (auto const* const ahead = linkage_->entryUsageSmAhead(hint)) prefetch(*ahead);
    handleResourceChange(sm.get());
  }
}

}  // namespace Asic
