// Bodies of OrderedSwTableAccessor: what works on committed entries, outside of the resolver's queue. An
// entry is written again after a change of a resource, a unit is emptied in the log, the hardware
// acknowledges. These have no queue to wait in: what finds no room is set aside. Included by
// OrderedSwTableAccessor-defs.h only.
#pragma once

#include <string_view>

#include "Asic/EndOnException.h"
#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"
#include "OrderedTable/SetAside.h"

namespace Asic {

template <class T>
template <class... Args>
auto OrderedSwTableAccessor<T>::entryWrapperFromConfig(Key const& key, bool refreshRsrcPtrs,
                                                       Pivot::Ptr<EntryHandle>& entryHandle,
                                                       Args const&... linkages) const
    -> Pivot::Ptr<EntryWrapper> {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}, refreshRsrcPtrs: {}", key, refreshRsrcPtrs);
  return entryWrapper(key, entryFromConfig(key), refreshRsrcPtrs, entryHandle, linkages...);
}

template <class T>
template <class... Args>
auto OrderedSwTableAccessor<T>::entryWrapper(Key const& key, Entry const& committed, bool refreshRsrcPtrs,
                                             Pivot::Ptr<EntryHandle>& entryHandle,
                                             Args const&... linkages) const -> Pivot::Ptr<EntryWrapper> {
  if (!entryHandle) entryHandle = newEntryHandle(kFirstVersion, key, ResponseHandler());
  auto const entry = bareWrapper(key, committed, entryHandle);
  fetchResources(entry, refreshRsrcPtrs, linkages...);
  return entry;
}

template <class T>
auto OrderedSwTableAccessor<T>::bareWrapper(Key const& key, Entry const& committed,
                                            Pivot::Ptr<EntryHandle> const& entryHandle) const
    -> Pivot::Ptr<EntryWrapper> {
  auto const entry = Pivot::make<EntryWrapper>(committed, entryHandle);
  entry->keyIs(key);
  return entry;
}

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::fetchResources(Pivot::Ptr<EntryWrapper> const& entry, bool refreshRsrcPtrs,
                                               Args const&... linkages) const {
  setRsrcPtrs(entry, refreshRsrcPtrs, linkages...);
  entry->retrieveClientData();
}

template <class T>
template <class... Args>
Pivot::Ptr<OrderedSwTable::EntryHandle const> OrderedSwTableAccessor<T>::updateEntry(
    Key const& key, Args const&... linkages) const {
  auto const& entryLog = swTable_->entryLog();
  if (!entryLog->entryHas(key, swTable_->unitId())) {
    VEX_TRACE_AT(traceHandle_, 3, kFileName, " key: {} entry does not exist ", key);
    return nullptr;
  }
  if (swTable_->setAside().any() || comesFirst() != nullptr) [[unlikely]]
    return setUpdateAside(key, nullptr, "others wait before it");
  if (auto const room = entryLog->updateRoom(); !room.isOk()) [[unlikely]]
    return setUpdateAside(key, nullptr, room.message());
  Pivot::Ptr<EntryHandle> entryHandle;
  updateNow(key, entryHandle, linkages...);
  return entryHandle;
}

// The update itself, with the given handle or a new one. A hook may publish, too: what it has done to the entry
// meanwhile stands, and is newer than what the update has read. Returns whether the update is through; the handle
// is null then when the entry has gone under it.
template <class T>
template <class... Args>
bool OrderedSwTableAccessor<T>::updateNow(Key const& key, Pivot::Ptr<EntryHandle>& entryHandle,
                                          Args const&... linkages) const {
  auto const& entryLog = swTable_->entryLog();
  auto const unitId = swTable_->unitId();
  auto const entry = entryWrapperFromConfig(key, false, entryHandle, linkages...);
  auto const oldLogEntry = entry->logEntry();
  entry->setResolvedFields();
  bool const someResourceHasFailed = !checkResolveSuccess(entry, linkages...);
  LogVersion const versionBefore = entryLog->tableVersion();
  bool const commitToLog = callHook([&, helper = swTable_->swTableHelper()] {
    return helper->finalizeOnResourceUpdate(entry, Pivot::Ptr<Table>(swTable_), someResourceHasFailed);
  });
  entry->keyIs(key);
  bool isOvertaken = false;
  if (entryLog->tableVersion() != versionBefore) [[unlikely]] {
    auto const* const record = committedRecord(key);
    if (record == nullptr) {
      VEX_TRACE_AT(traceHandle_, 3, kFileName, " key: {} entry does not exist ", key);
      entryHandle = nullptr;
      return true;
    }
    isOvertaken = record->logVersion > versionBefore;
  }
  if (someResourceHasFailed) {
    VEX_TRACE_AT(traceHandle_, 3, kFileName, " key: {}, some resource had failed", key);
    swTable_->stats()->updateWithFailedResourceCntInc(1);
  }
  if (commitToLog && !isOvertaken && !entry->logEntry().isEq(oldLogEntry)) {
    // The hook may have taken the room, or asked for a clear that found none.
    auto const room = entryLog->updateRoom();
    char const* const first = comesFirst();
    if (!room.isOk() || first != nullptr) [[unlikely]] {
      entryHandle = setUpdateAside(key, entryHandle, first != nullptr ? first : room.message());
      return false;
    }
    Pivot::Ptr<NeededEntry const> const neededEntry = getNeededEntrySet(entry, linkages...);
    auto const version = entryLog->entryIs(entry->logEntry(), entry->rsrcKeys(), neededEntry, unitId,
                                           swTable_->stats(), false);
    entryHandle->logVersionIs(version);
    entryHandle->entryStateIs(EntryState::entryStateInLog);
    swTable_->stats()->updateCntInc(1);
    VEX_TRACE_AT(traceHandle_, 3, kFileName, " key: {}, neededEntry: {}, entryLogVersion: {} ", key,
                 neededEntry, version);
  } else {
    VEX_TRACE_AT(traceHandle_, 3, kFileName,
                 " key: {}, commitToLog: {}, no change in logEntry or don't commit to log", key, commitToLog);
    entryHandle->logVersionIs(entryLog->entryLogVersion(key, unitId));
    entryHandle->entryStateIs(EntryState::entryStateInLog);
  }
  return true;
}

template <class T>
template <class... Args>
bool OrderedSwTableAccessor<T>::delAllEntries(bool releaseResources,
                                              Pivot::Ptr<NeededEntry> const& neededEntry,
                                              Pivot::Ptr<EntryHandle> entryHandle,
                                              Args const&... linkages) const {
  Pivot::Ptr<NeededEntry const> const needed = neededEntry;
  VEX_TRACE_AT(traceHandle_, 8, kFileName, " releaseResources: {}, neededEntry:{} ", releaseResources,
               needed);
  auto* const config = swTable_->configMap();
  if (config == nullptr || config->size() == 0) return false;
  if (auto const room = swTable_->entryLog()->clearRoom(); !room.isOk()) [[unlikely]] {
    setClearAside({releaseResources, neededEntry}, room.message());
    return false;
  }
  if (releaseResources) {
    forEachCommitted([&](ConfigRecord const& record) {
      auto const entry = entryWrapperFromConfig(record.key(), false, entryHandle, linkages...);
      updateUsage(entry, OldEntry(entry->entry()), true, linkages...);
    });
  }
  auto const version = swTable_->entryLog()->tableDel(needed, swTable_->unitId());
  // The resource tables hold the handle, also one that the walk has made, until the hardware has this
  // version.
  if (entryHandle) {
    entryHandle->logVersionIs(version);
    entryHandle->entryStateIs(EntryState::entryStateInLog);
  }
  swTable_->stats()->tableClearCntInc(1);
  return true;
}

// Handlers run within the loop and may write, remove or drop handles: each turn looks at the front anew.
template <class T>
void OrderedSwTableAccessor<T>::tableStatusVersion(LogVersion tableVersion) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "tableVersion: {}", tableVersion);
  swTable_->entryLog()->cleanupEntryLog(tableVersion);
  swTable_->groupResolver()->updateGenId();
  std::uint64_t reportedAt = 0;  // the clock is read for the first operation that is measured
  while (auto const handle = swTable_->entryHandleInLogFront()) {
    if (handle->logVersion() > tableVersion) break;
    swTable_->entryHandleInLogDeq();
    VEX_TRACE_AT(traceHandle_, 3, kFileName, "Processing version: {}, key: {}", handle->logVersion(),
                 handle->key());
    if (LatencyStamp const committed = handle->latencyStamp(); committed.weight() != 0) {
      if (reportedAt == 0) reportedAt = SwTableLatency::now();
      swTable_->latency().record(SwTableLatency::Stage::hardware, committed, reportedAt);
    }
    handle->end(EntryState::entryStateDone);
  }
  updatePending();
}

// --- what finds no room is set aside (SetAside.h), and done when there is some ---

// `given`: the handle of the update, where it has one already. Returns the handle that stands for it. The first one
// that finds no room tells of it, those that stand behind it are many.
template <class T>
auto OrderedSwTableAccessor<T>::setUpdateAside(Key const& key, Pivot::Ptr<EntryHandle> const& given,
                                               std::string_view why) const -> Pivot::Ptr<EntryHandle> {
  int const level = swTable_->setAside().any() ? 3 : 1;
  auto& handle = swTable_->setAside().update(key);
  if (!handle) {
    VEX_TRACE_AT(traceHandle_, level, kFileName,
                 "key: {}, unit: {}: the old record stays until there is room: {}", key, swTable_->unitId(),
                 why);
    handle = given ? given : newEntryHandle(kFirstVersion, key, ResponseHandler());
  }
  retrySetAside();
  return boost::static_pointer_cast<EntryHandle>(handle);
}

// A unit in which nothing lives has nothing that a clear could take away.
template <class T>
void OrderedSwTableAccessor<T>::setClearAside(typename Table::SetAside::Clear const& clear,
                                              std::string_view why) const {
  auto const unitId = swTable_->unitId();
  if (swTable_->entryLog()->entrys(unitId) == 0) return;
  VEX_TRACE_AT(traceHandle_, 1, kFileName, "unit: {} is cleared only when there is room: {}", unitId, why);
  swTable_->setAside().addClear(clear);
  retrySetAside();
}

template <class T>
void OrderedSwTableAccessor<T>::retrySetAside() const {
  swTable_->groupResolver()->retryIs(swTable_->setAside());
  updatePending();
}

// As far as there is room. A hook that an update asks may set more aside.
template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::redoSetAside(Args const&... linkages) const {
  auto& aside = swTable_->setAside();
  auto const& entryLog = swTable_->entryLog();
  auto const unitId = swTable_->unitId();
  if (aside.clearStands() && entryLog->clearRoom().isOk()) {
    auto const clear = aside.takeClear();
    delAllEntries(clear.releaseResources, clear.needed, nullptr, linkages...);
  }
  while (comesFirst() == nullptr && aside.updatesStand() && entryLog->updateRoom().isOk()) {
    auto const [key, waiting] = aside.updateFirst();
    auto handle = boost::static_pointer_cast<EntryHandle>(waiting);
    if (entryLog->entryHas(key, unitId)) {
      if (!updateNow(key, handle, linkages...)) break;
    } else {
      VEX_TRACE_AT(traceHandle_, 3, kFileName, " key: {} entry does not exist ", key);
      handle = nullptr;
    }
    if (!handle) {
      // The log as it stands has what took the entry away, and the updates before this one: it may be the last of
      // a resource, which then is taken over by all of them.
      waiting->logVersionIs(entryLog->tableVersion());
      waiting->entryStateIs(EntryState::entryStateInLog);
    }
    aside.updateFirstDel();
  }
  if (aside.any()) swTable_->groupResolver()->retryIs(aside);
  updatePending();
}

}  // namespace Asic
