// Bodies of OrderedSwTableAccessor: an operation meets the log. A write becomes a record with its resolved
// fields, a remove a delete record, a remove-all a table delete; or the operation fails. Included by
// OrderedSwTableAccessor-defs.h only.
#pragma once

#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"
#include "Vex/Assert.h"
#include "Vex/System.h"

namespace Asic {

// One commit, as read from its resolver entry.
template <class T>
struct OrderedSwTableAccessor<T>::Operation {
  Pivot::Ptr<EntryWrapper> entry;
  Pivot::Ptr<EntryHandle> handle;
  Pivot::Ptr<Table> swTable;
  DependencyEntryHandle const* dependency;  // null for none; the resolver entry keeps it
  Key key;
  bool isEntryDelete;
  bool isTableDelete;
  bool suppressIdenticalWrites;
};

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry,
                                            Args const&... linkages) const {
  auto const& resolverEntry = static_cast<ResolverEntry const&>(*resolvedEntry);
  auto const& entry = resolverEntry.swTableEntry();
  bool const isEntryDelete = resolverEntry.isEntryDeleted();
  bool const isTableDelete = resolverEntry.isTableDeleted();
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "Entry: {}, isEntryDeleted: {}, isTableDeleted: {}", entry->key(),
               isEntryDelete, isTableDelete);
  VEX_ASSERT(!(isEntryDelete && isTableDelete), "!( isEntryDelete && isTableDelete )");
  auto* const entryHandle = dynamic_cast<EntryHandle*>(entry->entryHandle().get());
  VEX_ASSERT(entryHandle != nullptr, "entryHandle != NULL");
  VEX_ASSERT(isTableDelete || entryHandle->entryVersion().valid(), "entryConfVersion.valid()");
  entryHandle->latencyStampIs(resolverEntry.latencyStamp());
  Operation const op{entry,
                     Pivot::Ptr<EntryHandle>(entryHandle),
                     Pivot::Ptr<Table>(swTable_),
                     resolverEntry.dependantEntryHandle().get(),
                     entry->key(),
                     isEntryDelete,
                     isTableDelete,
                     resolverEntry.suppressIdenticalWrites()};
  if (op.dependency != nullptr && hasFailed(op.dependency->entryState())) {
    failForDependency(op);
  } else if (isTableDelete) {
    commitTableDelete(op, linkages...);
  } else if (isEntryDelete) {
    commitRemove(op, linkages...);
  } else {
    commitWrite(op, linkages...);
  }
  noteQueueMoved();
  swTable_->stats()->lastCommitTimeIs(Vex::System::currentTimeUtc());
  swTable_->stats()->commitCntInc(1);
}

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::commitWrite(Operation const& op, Args const&... linkages) const {
  if (!finalizeWrite(op, linkages...)) {
    op.handle->end(EntryState::entryStateFailed);
    return;
  }
  auto const neededEntry = getNeededEntrySet(op.entry, linkages...);
  OldEntry const previous = oldEntry(op.key);
  if (op.dependency != nullptr) neededEntry->add(op.dependency->entryTableVersion());
  auto const version =
      swTable_->entryLog()->entryIs(op.entry->logEntry(), op.entry->rsrcKeys(), neededEntry,
                                    swTable_->unitId(), swTable_->stats(), op.suppressIdenticalWrites);
  VEX_ASSERT_MSG(version != LogVersion(), kFindsRoom, "write of key: {}, unit: {}", op.key,
                 swTable_->unitId());
  op.handle->logVersionIs(version);
  if (version > swTable_->entryLog()->cleanedVersion()) {
    logHandle(op);
  } else {
    // The hardware has this version already, as after a write that was suppressed.
    op.handle->end(EntryState::entryStateDone);
  }
  updateUsage(op.entry, previous, false, linkages...);
}

// Whether the write goes to the log. A unit whose live entries fill it fails a new key before the client's
// hook has seen the entry as committed.
template <class T>
template <class... Args>
bool OrderedSwTableAccessor<T>::finalizeWrite(Operation const& op, Args const&... linkages) const {
  if (!swTable_->entryLog()->unitHasRoomForKey(swTable_->unitId(), op.key)) {
    VEX_TRACE_AT(traceHandle_, 1, kFileName,
                 "Failed to commit entry key: {}, unit {} is full of live entries", op.key,
                 swTable_->unitId());
    checkSupersededWrite(op);
    return false;
  }
  bool goesToLog = true;
  if (checkResolveSuccess(op.entry, linkages...)) {
    op.entry->finalizeOnSuccess(op.swTable, false);
  } else {
    swTable_->stats()->resolveFailCntInc(1);
    goesToLog = op.entry->finalizeOnFailure(op.swTable, false);
  }
  // The client's hook may change the entry, but not under which key it stands: the transient map is in its
  // order.
  op.entry->keyIs(op.key);
  checkSupersededWrite(op);
  if (!goesToLog) VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed to commit entry key: {}", op.key);
  return goesToLog;
}

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::commitRemove(Operation const& op, Args const&... linkages) const {
  OldEntry const previous = oldEntry(op.key);
  auto const neededEntry = Pivot::make<NeededEntry>();
  if (op.dependency != nullptr) neededEntry->add(op.dependency->entryTableVersion());
  checkSupersededRemove(op);
  op.entry->finalizeOnSuccess(op.swTable, true);
  op.entry->keyIs(op.key);
  auto const version = swTable_->entryLog()->entryDel(op.key, neededEntry, swTable_->unitId());
  VEX_ASSERT_MSG(version != LogVersion() || !previous, kFindsRoom, "removal of key: {}, unit: {}", op.key,
                 swTable_->unitId());
  op.handle->logVersionIs(version);
  if (version != LogVersion(0)) {
    logHandle(op);
  } else {
    op.handle->end(EntryState::entryStateDone);
  }
  updateUsage(op.entry, previous, true, linkages...);
}

// Brings the accounts of the resources into line with what was published. A trace sees each linkage, also one that
// neither the entry nor the one before it uses.
template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::updateUsage(Pivot::Ptr<EntryWrapper> const& entry, OldEntry const& previous,
                                            bool isDeleted, Args const&... linkages) const {
  auto const update = [&](auto& linkage) { linkage.updateLocalUsage(entry, previous, isDeleted); };
  if (Vex::TraceControl::anyEnabled(3)) [[unlikely]]
    return runOnAllResourceLinkages(update, linkages...);
  runOnUsedResourceLinkages(entry->usedResources() | previous.usedResources, update, linkages...);
}

// The handle waits for the hardware like that of a remove. A unit without a record has nothing to wait for:
// the operation is done here, once it no longer counts as pending.
template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::commitTableDelete(Operation const& op, Args const&... linkages) const {
  auto const currRemoveAllVersion = swTable_->transientRemoveAllVersion();
  VEX_ASSERT(currRemoveAllVersion.valid(), "currRemoveAllVersion.valid()");
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "Committing table delete for version: {}", currRemoveAllVersion);
  auto const neededEntry = getNeededEntrySet(op.entry, linkages...);
  if (op.dependency != nullptr) neededEntry->add(op.dependency->entryTableVersion());
  bool const recorded = delAllEntries(true, neededEntry, op.handle, linkages...);
  VEX_ASSERT_MSG(recorded || !swTable_->setAside().clearStands(), kFindsRoom, "remove-all, unit: {}",
                 swTable_->unitId());
  countDownRemoveAll();
  if (recorded) {
    swTable_->entryHandleInLogEnq(op.handle);
  } else {
    op.handle->end(EntryState::entryStateDone);
  }
}

// Gives up the transient state as a failed resource does: otherwise readers would see the failed operation,
// and the table count it as pending, until some later operation on the key.
template <class T>
void OrderedSwTableAccessor<T>::failForDependency(Operation const& op) const {
  if (op.isTableDelete) {
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed dependent entry for remove all");
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed to commit entry remove all operation");
    countDownRemoveAll();
  } else {
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed dependent entry for key: {}", op.key);
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed to commit entry key: {}", op.key);
    if (op.isEntryDelete) {
      checkSupersededRemove(op);
    } else {
      checkSupersededWrite(op);
    }
  }
  op.handle->end(EntryState::entryStateFailed);
}

template <class T>
void OrderedSwTableAccessor<T>::logHandle(Operation const& op) const {
  op.handle->entryStateIs(EntryState::entryStateInLog);
  swTable_->entryHandleInLogEnq(op.handle);
}

// The two checks give up the transient state of the key, unless a newer operation owns it.
template <class T>
void OrderedSwTableAccessor<T>::checkSupersededWrite(Operation const& op) const {
  auto const newest = swTable_->transientAddEntry(op.key);
  if (!newest || !newest->entryHandle()->entryVersion().isEq(op.handle->entryVersion())) return;
  swTable_->transientAddEntryDel(op.key);
  swTable_->transientVersionForKeyDel(op.key);
}

template <class T>
void OrderedSwTableAccessor<T>::checkSupersededRemove(Operation const& op) const {
  auto const newest = swTable_->transientRemoveEntry(op.key);
  if (!newest || !newest->entryHandle()->entryVersion().isEq(op.handle->entryVersion())) return;
  swTable_->transientRemoveEntryDel(op.key);
  swTable_->transientVersionForKeyDel(op.key);
}

// The version is read anew: a subscriber of what the delete has taken away may have asked for another one.
template <class T>
void OrderedSwTableAccessor<T>::countDownRemoveAll() const {
  auto const version = swTable_->transientRemoveAllVersion();
  VEX_ASSERT(version.valid(), "currRemoveAllVersion.valid()");
  swTable_->transientRemoveAllVersionIs(version.value() != 0 ? MajorVersion{version.value() - 1}
                                                             : MajorVersion());
}

}  // namespace Asic
