// Bodies of OrderedSwTableAccessor: an operation is accepted (write, remove, remove-all). Included by
// OrderedSwTableAccessor-defs.h only.
#pragma once

#include "Asic/EntryFlags.h"
#include "Asic/OrderedSwTableSet.h"
#include "Asic/SwTableStats.h"
#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/OrderedTableResourceAccessor.h"
#include "Vex/Assert.h"

namespace Asic {

// A key with nothing in flight starts at {0, 0}; each further operation counts its major version up. The row
// leaves when the newest operation of the key commits, so versions tell operations in flight apart, no more; behind
// a remove-all that took that operation's place it stays, and the next one counts on.
template <class T>
EntryVersion OrderedSwTableAccessor<T>::newEntryVersion(Key const& key) const {
  EntryVersion version = kFirstVersion;
  if (auto const* current = swTable_->transientVersionForKeyFind(key)) {
    VEX_ASSERT(current->valid(), "currEntryVersion.valid()");
    version = EntryVersion(MajorVersion(current->majorVersion().value() + 1), current->word());
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
  auto const& resolver = swTable_->groupResolver();
  resolver->resolverQueueEnq(resolverEntry, swTable_);
  resolver->updateGenId();
}

// After the queue or the log has moved: the resolver may rest, and the pending state is computed anew.
template <class T>
void OrderedSwTableAccessor<T>::noteQueueMoved() const {
  swTable_->groupResolver()->maybeUpdateSuspend();
  updatePending();
}

// Brings the pending state of the instance into line; a table outside of any set has none.
template <class T>
void OrderedSwTableAccessor<T>::updatePending() const {
  if (auto* const swTableSet = swTable_->swTableSet()) swTableSet->maybeUpdatePendingHwWrites(swTable_);
}

// The places where the resources are looked up, and what is found there, lie anywhere: the memory brings those of all
// keys side by side. The first key that is the same again ends that: entries mostly have keys of their own or share all.
template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::requestResources(Pivot::Ptr<EntryWrapper> const& entry,
                                                 Args const&... linkages) const {
  auto const used = entry->usedResources();
  bool fetching = true;
  runOnUsedResourceLinkages(
      used, [&](auto& linkage) { fetching = fetching && linkage.prefetchResource(entry); }, linkages...);
  if (fetching)
    runOnUsedResourceLinkages(
        used, [&](auto& linkage) { linkage.prefetchHandle(entry); }, linkages...);
  runOnUsedResourceLinkages(
      used, [&](auto& linkage) { linkage.resolveEntry(entry); }, linkages...);
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
  requestResources(entry, linkages...);
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

}  // namespace Asic
