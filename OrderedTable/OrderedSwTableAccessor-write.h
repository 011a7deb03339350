// Bodies of OrderedSwTableAccessor: an operation is accepted (write, remove, remove-all), and a wrapper gets
// its resources. Included by OrderedSwTableAccessor-defs.h only.
#pragma once

#include <utility>

#include "Asic/EntryFlags.h"
#include "Asic/SwTableStats.h"
#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedSwTableCore.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"

namespace Asic {

// A key with nothing in flight starts at {0, 0}; each further operation counts its major version up. The row
// leaves when the newest operation of the key commits, so versions tell operations in flight apart, no more.
template <class T>
EntryVersion OrderedSwTableAccessor<T>::newEntryVersion(Key const& key) const {
  EntryVersion version = kFirstVersion;
  if (auto const* current = swTable_->transientVersionForKeyFind(key)) {
    version = OrderedSwTableCore::versionAfter(*current);
  } else {
    VEX_TRACE_AT(traceHandle_, 8, kFileName, " Key: {} not found in entry version collection", key);
  }
  swTable_->transientVersionForKeyIs(key, version);
  return version;
}

template <class T>
auto OrderedSwTableAccessor<T>::newEntryHandle(EntryVersion const& version, Key const& key,
                                               ResponseHandler const& handler) const
    -> Pivot::Ptr<EntryHandle> {
  auto handle = Pivot::make<EntryHandle>(version, key, swTable_);
  if (handler) handle->responseHandlerIs(ResponseHandler(handler));
  handle->entryStateIs(EntryState::entryStateUnresolved);
  return handle;
}

template <class T>
void OrderedSwTableAccessor<T>::enqueue(Pivot::Ptr<Asic::ResolverEntry> const& resolverEntry) const {
  OrderedSwTableCore::enqueue(*swTable_, *swTable_->groupResolver(), resolverEntry);
}

template <class T>
void OrderedSwTableAccessor<T>::noteQueueMoved() const {
  OrderedSwTableCore::noteQueueMoved(*swTable_, *swTable_->groupResolver());
}

template <class T>
template <class... Args>
auto OrderedSwTableAccessor<T>::entryWriteGeneric(Key const& keyArg, Entry const& value,
                                                  Dependency const& dependency,
                                                  ResponseHandler const& handler,
                                                  Args const&... linkages) const -> Pivot::Ptr<EntryHandle> {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}", keyArg);
  // The arguments may lie in a wrapper that this very write replaces: the key is copied, and the value is
  // copied into the new wrapper before the collections change.
  Key const key = keyArg;
  auto const version = newEntryVersion(key);
  bool const marking = swTable_->inMarkingState();
  if (marking) swTable_->markedKeyIs(key);
  auto const handle = newEntryHandle(version, key, handler);
  auto const entry = Pivot::make<EntryWrapper>(value, handle);
  entry->keyIs(key);
  swTable_->transientRemoveEntryDel(key);
  swTable_->transientAddEntryIs(entry);
  runOnAllResourceLinkages([&entry](auto& linkage) { linkage.resolveEntry(entry); }, linkages...);
  EntryFlags const flags(marking ? EntryFlags::kSuppressIdenticalWrites : std::uint8_t{0});
  enqueue(Pivot::make<ResolverEntry>(dependency, flags, swTable_, entry));
  VEX_TRACE_AT(traceHandle_, 2, kFileName, "Done processing write for key: {} ", key);
  swTable_->stats()->entryWriteCntInc(1);
  if (auto* const config = swTable_->configMap()) config->prefetch(key);
  noteQueueMoved();
  return handle;
}

template <class T>
auto OrderedSwTableAccessor<T>::entryRemoveGeneric(Key const& keyArg, Dependency const& dependency,
                                                   ResponseHandler const& handler) const
    -> Pivot::Ptr<EntryHandle> {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, " Key: {} ", keyArg);
  Key const key = keyArg;
  auto const version = newEntryVersion(key);
  auto const handle = newEntryHandle(version, key, handler);
  auto const entry = Pivot::make<EntryWrapper>(Entry(), handle);
  entry->keyIs(key);
  auto const resolverEntry =
      Pivot::make<ResolverEntry>(dependency, EntryFlags(EntryFlags::kIsEntryDelete), swTable_, entry);
  swTable_->transientAddEntryDel(key);
  swTable_->transientRemoveEntryIs(entry);
  enqueue(resolverEntry);
  VEX_TRACE_AT(traceHandle_, 2, kFileName, " Done processing remove for key: {} ", key);
  swTable_->stats()->entryRemoveCntInc(1);
  noteQueueMoved();
  return handle;
}

// The operations accepted before stay queued and commit first; only what readers see of them goes. Their
// versions stay too: a later write of such a key gets the next one, so that the older commit does not take it
// for its own.
template <class T>
void OrderedSwTableAccessor<T>::entryRemoveAllGeneric(Dependency const& dependency,
                                                      ResponseHandler const& handler) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "");
  auto const handle = newEntryHandle(kFirstVersion, Key(), handler);
  auto const entry = Pivot::make<EntryWrapper>(Entry(), handle);
  auto const resolverEntry =
      Pivot::make<ResolverEntry>(dependency, EntryFlags(EntryFlags::kIsTableDelete), swTable_, entry);
  swTable_->transientAddEntryDelAll();
  swTable_->transientRemoveEntryDelAll();
  auto const version = swTable_->transientRemoveAllVersion();
  if (version.valid()) {
    VEX_TRACE_AT(traceHandle_, 8, kFileName, "Found valid table remove all version: {}", version);
    swTable_->transientRemoveAllVersionIs(MajorVersion{version.value() + 1});
  } else {
    VEX_TRACE_AT(traceHandle_, 8, kFileName, "No remove all operation currently enqueued");
    swTable_->transientRemoveAllVersionIs(MajorVersion{0});
  }
  enqueue(resolverEntry);
  VEX_TRACE_AT(traceHandle_, 2, kFileName, "Done processing remove all ");
  noteQueueMoved();
}

template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::setRsrcPtrs(Pivot::Ptr<EntryWrapper> const& entry, bool refresh,
                                            Args const&... linkages) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}, refresh: {}", entry->key(), refresh);
  if (refresh) {
    runOnAllResourceLinkages([&entry](auto& linkage) { linkage.resolveEntry(entry); }, linkages...);
  } else {
    runOnAllResourceLinkages([&entry](auto& linkage) { linkage.setResourceHandle(entry); }, linkages...);
  }
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
  (collect(*linkages), ...);
  return needed ? needed : Pivot::make<NeededEntry>();
}

}  // namespace Asic
