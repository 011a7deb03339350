// Bodies of OrderedSwTableAccessor: a restart. restoreEntries takes the committed entries of the unit up again,
// sweep removes what nobody wrote again. Included by OrderedSwTableAccessor-defs.h only.
//
// What is to be done. Each committed entry goes into the accounts of the linkages. Then each linkage updates the
// users of each of its resources, as after a change, so that an entry whose resource has changed while nobody was
// there is published as the resource is now. An entry with ten resources would be updated ten times, and nearly
// always for nothing: a restart of a full unit would cost ten times its walk.
//
// What is skipped. The update of an entry that the walk found to agree with its resources: such an update reads
// the entry, sets the same resolved fields, asks the hook, and publishes nothing, since nothing has changed.
// RestoreFindings holds these entries (updateIsIdle); when it holds all of them, the users of a resource are not
// even gone through (updatesAreIdle). What is left of an update is its result, a handle that names the version of
// the entry (standingHandle).
//
// Why nobody can tell. The findings are made and used only under these conditions, and gone when one ends:
//   R1  the helper is the family's own (hasDefaultHooks): a client's hook has a say in each update, and may
//       change the entry though no resource did;
//   R2  nobody reads what the steps trace: the table's level 8 and the log's, the linkage's level 8 (beginRestore)
//       and 3 (the walk over the users);
//   R3  nobody has subscribed to an account: a subscriber sees it grow use by use (beginRestore);
//   R4  no resource has changed since the walk read it: of one that changes later the notification ends the
//       findings (LocalUsageUpdateSmOf::handleResourceChange), of one that changed before its use was in an account,
//       and so before anything listened, the version tells (endRestore).
// An update that runs meanwhile, of an entry that does not agree, goes the usual road. Subscribers and hooks of
// that update may do anything, also change a resource, which R4 covers.
#pragma once

#include <absl/cleanup/cleanup.h>

#include <optional>

#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/RestoreFindings.h"
#include "Shoal/ReportedReads.h"
#include "Vex/LookAhead.h"

namespace Asic {

// Unwatched, the walk reads some entries ahead of the one that it restores, so that what their resources are
// looked up in comes from memory meanwhile. An entry that was read and not restored is in no account yet, so no
// update reaches it. On a table that is not new the account may be older than the walk and an update may come: the
// entry as it was read disagrees with its resources then, and counts as not standing.
template <class T>
template <class... Args>
void OrderedSwTableAccessor<T>::restoreEntries(Args const&... linkages) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "");
  if (swTable_->configMap() == nullptr) return;
  bool const traced = traceHandle_.enabled(8);
  // An update reads the log, which traces that too.
  bool unwatched = swTable_->hasDefaultHooks() && !traced && !swTable_->entryLog()->tracesReads();
  // What is taken down holds its resources: it goes also when a subscriber's exception ends the walk.
  absl::Cleanup const abandoned = [&] {
    runOnAllResourceLinkages([](auto& linkage) { linkage.abandonRestore(); }, linkages...);
  };
  runOnAllResourceLinkages([&](auto& linkage) { unwatched = linkage.beginRestore() && unwatched; },
                           linkages...);
  std::optional<RestoreFindings<Key>> found;
  if (unwatched) found.emplace().standing.reserve(swTable_->configMap()->size());
  auto const restore = [&](Pivot::Ptr<EntryWrapper> const& entry) {
    runOnUsedResourceLinkages(
        entry->usedResources(), [&entry](auto& linkage) { linkage.restoreEntry(entry); }, linkages...);
  };
  auto const restoreRead = [&](ReadEntry const& read) {
    fetchResources(read.entry, true, linkages...);
    restore(read.entry);
    if (read.entry->agreesWithResources()) {
      found->standing.insert(read.key, read.version);
    } else {
      found->complete = false;
    }
  };
  Vex::LookAhead<ReadEntry, kEntriesAhead> ahead;
  forEachCommitted([&](ConfigRecord const& record) {
    Key const key = record.key();
    Pivot::Ptr<EntryHandle> entryHandle;
    if (traced) return restore(entryWrapperFromConfig(key, true, entryHandle, linkages...));
    Entry const committed{record.tableEntry, record.rsrcKeys};
    if (!unwatched) return restore(entryWrapper(key, committed, true, entryHandle, linkages...));
    found->standing.prefetch(key);
    ReadEntry& read = ahead.push(
        {key, record.logVersion, bareWrapper(key, committed, newEntryHandle(kFirstVersion, key, {}))},
        restoreRead);
    runOnUsedResourceLinkages(
        read.entry->usedResources(),
        [&read](auto& linkage) { read.fetching |= linkage.prefetchResource(read.entry); }, linkages...);
    ReadEntry const& halfWay = ahead.halfWay();
    if (!halfWay.fetching) return;
    runOnUsedResourceLinkages(
        halfWay.entry->usedResources(), [&](auto& linkage) { linkage.prefetchHandle(halfWay.entry); },
        linkages...);
  });
  ahead.drain(restoreRead);
  bool holds = unwatched;
  runOnAllResourceLinkages([&holds](auto& linkage) { holds = linkage.endRestore() && holds; }, linkages...);
  // The table refers to them until the updates are through, or a subscriber has thrown.
  absl::Cleanup const takenBack = [this] { swTable_->restoreFindingsIs(nullptr); };
  swTable_->restoreFindingsIs(holds ? &*found : nullptr);
  runOnAllResourceLinkages([](auto& linkage) { linkage.handleResourceChangeAtInit(); }, linkages...);
}

template <class T>
bool OrderedSwTableAccessor<T>::updateIsIdle(Key const& key) const {
  auto const* const found = swTable_->restoreFindings();
  if (found == nullptr || !found->standing.has(key)) return false;
  VEX_TRACE_AT(traceHandle_, 3, kFileName,
               " key: {}, commitToLog: {}, no change in logEntry or don't commit to log", key, true);
  return true;
}

template <class T>
bool OrderedSwTableAccessor<T>::updatesAreIdle() const {
  auto const* const found = swTable_->restoreFindings();
  return found != nullptr && found->complete && !traceHandle_.enabled(3);
}

template <class T>
Pivot::Ptr<OrderedSwTable::EntryHandle const> OrderedSwTableAccessor<T>::standingHandle(
    Key const& key) const {
  auto const version = standingVersion(key);
  if (!version) return nullptr;
  auto const handle = newEntryHandle(kFirstVersion, key, ResponseHandler());
  handle->logVersionIs(*version);
  handle->entryStateIs(EntryState::entryStateInLog);
  return handle;
}

// The findings of a restore hold as long as they are there, and spare the search for the record.
template <class T>
std::optional<LogVersion> OrderedSwTableAccessor<T>::standingVersion(Key const& key) const {
  if (auto const* const found = swTable_->restoreFindings()) {
    if (auto const* const version = found->standing.find(key)) return *version;
  }
  auto const* const record = committedRecord(key);
  return record == nullptr ? std::nullopt : std::optional(record->logVersion);
}

// What readers see is gone through, the writes under way and then what is committed; of both the keys say enough. The
// removes that the walk queues only take away what it has passed.
template <class T>
std::uint32_t OrderedSwTableAccessor<T>::sweep() const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "");
  std::uint32_t count = 0;
  if (!swTable_->inMarkingState()) return count;
  auto const sweepKey = [&](Key const& key) {
    if (swTable_->markedKeyHas(key)) return;
    swTable_->entryRemove(key, nullptr);
    ++count;
  };
  bool const tableRemoved = swTable_->transientRemoveAllVersion().valid();
  auto const& adds = swTable_->transientAddEntrys();
  for (auto at = adds.begin(); at != adds.end();) {
    Key const key = at->key();
    sweepKey(key);
    at = adds.iteratorAfter(key);
  }
  auto* const config = swTable_->configMap();
  if (config != nullptr && !tableRemoved) {
    auto const sweepCommitted = [&](Key const& key) {
      if (swTable_->transientRemoveEntryFind(key) != nullptr ||
          swTable_->transientAddEntryFind(key) != nullptr)
        return;
      if (swTable_->entryLog()->entryCounts(key, swTable_->unitId())) sweepKey(key);
    };
    // Nobody comes back for what damage hid.
    Shoal::walkBeyondDamage(*config, [&] { return Shoal::forEachKey(*config, sweepCommitted); });
  }
  swTable_->inMarkingStateIs(false);
  swTable_->markedKeyDelAll();
  return count;
}

}  // namespace Asic
