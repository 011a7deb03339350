// Bodies of OrderedSwTableAccessor: whether an operation may commit: is there room, is its dependency committed,
// have its resources come and have they succeeded. Included by OrderedSwTableAccessor-defs.h only.
#pragma once

#include <string>

#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"
#include "OrderedTable/SetAside.h"

namespace Asic {

// Room comes first: an operation that has been told it may commit must find room in the log, so the room is
// reserved here, where waiting is still possible.
template <class T>
template <class... Args>
bool OrderedSwTableAccessor<T>::isResolverEntryResolved(Pivot::Ptr<ResolverEntry> const& resolverEntry,
                                                        Args const&... linkages) const {
  auto const& entry = resolverEntry->swTableEntry();
  bool const isEntryDeleted = resolverEntry->isEntryDeleted();
  Key const* const newKey = isEntryDeleted || resolverEntry->isTableDeleted() ? nullptr : &entry->key();
  lookAhead(*resolverEntry);
  if (!hasRoom(*resolverEntry, newKey)) return false;
  if (auto const& dependency = resolverEntry->dependantEntryHandle()) {
    if (dependency->entryState() == EntryState::entryStateUnresolved) {
      VEX_TRACE_AT(traceHandle_, 3, kFileName, "key: {} dependant entry not yet resolved", entry->key());
      return false;
    }
    VEX_TRACE_AT(traceHandle_, 3, kFileName, "key: {} dependant entry is resolved", entry->key());
  }
  if (!isEntryDeleted) {
    setRsrcPtrs(entry, true, linkages...);
    if (!resAccessorCheckResolved(entry, linkages...)) return false;
  }
  VEX_TRACE_AT(traceHandle_, 3, kFileName, "key: {}, isEntryDeleted: {}, isTableDeleted: {}, resolved: true",
               entry->key(), isEntryDeleted, resolverEntry->isTableDeleted());
  return true;
}

// A commit looks at the record that stands for its key, which lies anywhere in a large file. So the memory brings it
// while the operations before it are done, in steps, each of which needs what the one before has brought.
template <class T>
void OrderedSwTableAccessor<T>::lookAhead(ResolverEntry const& resolverEntry) const {
  auto* const config = swTable_->configMap();
  if (config == nullptr) return;
  constexpr int kRecord = 2;
  constexpr int kFirst = 4;
  constexpr int kWord = 6;
  Asic::ResolverEntry const* soon = &resolverEntry;
  for (int ahead = 1; ahead <= kWord; ++ahead) {
    soon = soon->behind();
    if (soon == nullptr) return;
    Key const& key = static_cast<ResolverEntry const&>(*soon).swTableEntry()->key();
    if (ahead == kRecord) config->prefetchRecord(key);
    if (ahead == kFirst) config->prefetchFirst(key);
    if (ahead == kWord) config->prefetch(key);
  }
}

// This one and checkResolveSuccess look at one linkage and leave the rest to themselves, so that a trace names
// them.
template <class T>
template <class Linkage, class... Rest>
bool OrderedSwTableAccessor<T>::resAccessorCheckResolved(Pivot::Ptr<EntryWrapper> const& entry,
                                                         Linkage const& linkage, Rest const&... rest) const {
  if (entry->usedResources() == 0) return true;
  if (linkage->entryResolutionState(entry) == EntryState::entryStateUnresolved) {
    VEX_TRACE_AT(traceHandle_, 3, kFileName, "SwTable key: {}, resourceKey: {} is still unresolved!",
                 entry->key(), linkage->resourceKey(entry));
    return false;
  }
  return resAccessorCheckResolved(entry, rest...);
}

// The three conditions of isResolverEntryResolved, each told by itself: only the head of a queue has asked for
// room, and a wrapper has had handles since its write was accepted.
template <class T>
template <class... Args>
WaitCauses OrderedSwTableAccessor<T>::waitCauses(ResolverEntry const& resolverEntry,
                                                 Args const&... linkages) const {
  WaitCauses causes;
  auto const head = swTable_->groupResolver()->head(swTable_).entry;
  if (head.get() == &resolverEntry) causes.room = roomRefusal();
  auto const& dependency = resolverEntry.dependantEntryHandle();
  causes.dependency = dependency != nullptr && dependency->entryState() == EntryState::entryStateUnresolved;
  if (resolverEntry.isEntryDeleted()) return causes;
  std::uint32_t bit = 1;
  Pivot::Ptr<EntryWrapper const> const entry = resolverEntry.swTableEntry();
  auto const look = [&](auto const& linkage) {
    if (linkage.entryResolutionState(entry) == EntryState::entryStateUnresolved) causes.resources |= bit;
    bit <<= 1;
  };
  (look(*linkages), ...);
  return causes;
}

template <class T>
template <class Linkage, class... Rest>
bool OrderedSwTableAccessor<T>::checkResolveSuccess(Pivot::Ptr<EntryWrapper> const& entry,
                                                    Linkage const& linkage, Rest const&... rest) const {
  if (entry->usedResources() == 0) return true;
  if (linkage->entryResolutionState(entry) != EntryState::entryStateDone) {
    VEX_TRACE_AT(traceHandle_, 3, kFileName, "SwTable key: {}, resourceKey: {} has failed resolution!",
                 entry->key(), linkage->resourceKey(entry));
    return false;
  }
  return checkResolveSuccess(entry, rest...);
}

// --- room ---

// What everything else of the table waits for, since it found no room; null: nothing.
template <class T>
char const* OrderedSwTableAccessor<T>::comesFirst() const {
  if (swTable_->setAside().clearStands()) return "the unit is to be cleared first, which waits for room";
  if (swTable_->entryLog()->repairStands(swTable_->unitId()))
    return "the unit is to be published anew first, which waits for room";
  return nullptr;
}

// Whether the operation finds room; it is reserved then, until the operation commits. `newKey`: of a write.
template <class T>
bool OrderedSwTableAccessor<T>::hasRoom(ResolverEntry const& resolverEntry, Key const* newKey) const {
  auto const& entry = resolverEntry.swTableEntry();
  auto const unitId = swTable_->unitId();
  auto const& entryLog = swTable_->entryLog();
  std::string refusal;
  if (char const* const first = comesFirst()) {
    refusal = first;
  } else {
    auto const room = entryLog->reserveRoom(unitId, newKey);
    if (room.isOk()) return true;
    refusal = room.message();
  }
  if (entryLog->isFull()) {
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "key: {}, isEntryDeleted: {} : no space in entryLog!",
                 entry->key(), resolverEntry.isEntryDeleted());
  } else {
    VEX_TRACE_AT(traceHandle_, 1, kFileName, "key: {}, unit: {} waits for room: {}", entry->key(), unitId,
                 refusal);
  }
  return false;
}

// Why the operation would find none now, as far as it is known without asking; empty when it is not known to.
template <class T>
std::string OrderedSwTableAccessor<T>::roomRefusal() const {
  if (char const* const first = comesFirst()) return first;
  auto const* const refusal = swTable_->entryLog()->roomRefusal(swTable_->unitId());
  return refusal == nullptr ? std::string() : *refusal;
}

// --- the resources of one wrapper ---

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::setRsrcPtrs(Pivot::Ptr<EntryWrapper> const& entry, bool refresh,
                                            Args const&... linkages) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}, refresh: {}", entry->key(), refresh);
  auto const set = [&entry, refresh](auto& linkage) {
    refresh ? linkage.resolveEntry(entry) : linkage.setResourceHandle(entry);
  };
  runOnUsedResourceLinkages(entry->usedResources(), set, linkages...);
}

template <class T>
template <class... Args>
Pivot::Ptr<NeededEntry> OrderedSwTableAccessor<T>::getNeededEntrySet(
    Pivot::Ptr<EntryWrapper const> const& entry, Args const&... linkages) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}", entry->key());
  return resAccessorGetNeededEntrySet(entry, linkages...);
}

// Each set that a linkage makes is a copy, so only those are asked for that can have a member: the others
// would add nothing.
template <class T>
template <class... Args>
Pivot::Ptr<NeededEntry> OrderedSwTableAccessor<T>::resAccessorGetNeededEntrySet(
    Pivot::Ptr<EntryWrapper const> const& entry, Args const&... linkages) const {
  Pivot::Ptr<NeededEntry> needed;
  auto const collect = [&needed, &entry](auto const& linkage) {
    auto const& resource = linkage.resourceHandle(entry);
    if (!resource || resource->neededEntry()->empty()) return;
    auto const more = linkage.getNeededEntrySet(entry);
    if (needed) {
      needed->merge(*more);
    } else {
      needed = more;
    }
  };
  runOnUsedResourceLinkages(entry->usedResources(), collect, linkages...);
  return needed ? needed : Pivot::make<NeededEntry>();
}

}  // namespace Asic
