// Bodies of OrderedSwTableAccessor: what finds no room in the log. An operation of a client waits in its queue;
// an update or a clear, which has no queue, is set aside (SetAside.h) and done when there is room. Included by
// OrderedSwTableAccessor-defs.h only.
#pragma once

#include <string>
#include <string_view>

#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedSwTableCore.h"
#include "OrderedTable/SetAside.h"

namespace Asic {

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
  OrderedSwTableCore::updatePending(*swTable_);
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
  OrderedSwTableCore::updatePending(*swTable_);
}

}  // namespace Asic
