// Bodies of OrderedSwTableAccessor: the merged view of what is pending and what is committed, and the two
// walks of a restart over it (restore, sweep). Included by OrderedSwTableAccessor-defs.h only.
#pragma once

#include <absl/cleanup/cleanup.h>

#include <array>
#include <cstddef>
#include <optional>

#include "OrderedTable/OrderedSwTableAccessor.h"
#include "OrderedTable/RestoreFindings.h"
#include "Shoal/ReportedReads.h"

namespace Asic {

template <class T>
auto OrderedSwTableAccessor<T>::entryReadGeneric(Key const& key) const -> Entry {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}", key);
  if (auto const* entry = swTable_->transientAddEntryFind(key)) return entry->entry();
  if (swTable_->transientRemoveEntryFind(key) != nullptr) return Entry();
  if (swTable_->entryLog()->entryHas(key, swTable_->unitId())) return entryFromConfig(key);
  VEX_TRACE_AT(traceHandle_, 1, kFileName, "Failed to find entry for key: {}", key);
  return Entry();
}

template <class T>
bool OrderedSwTableAccessor<T>::entryHas(Key const& key) const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}", key);
  if (swTable_->transientAddEntryFind(key) != nullptr) return true;
  if (swTable_->transientRemoveEntryFind(key) != nullptr) return false;
  if (swTable_->transientRemoveAllVersion().valid()) return false;
  return swTable_->entryLog()->entryHas(key, swTable_->unitId());
}

template <class T>
auto OrderedSwTableAccessor<T>::entryFromConfig(Key const& key) const -> Entry {
  auto const* record = committedRecord(key);
  return record == nullptr ? Entry() : Entry{record->tableEntry, record->rsrcKeys};
}

template <class T>
auto OrderedSwTableAccessor<T>::oldEntry(Key const& key) const -> OldEntry {
  auto const* record = committedRecord(key);
  return record == nullptr ? OldEntry() : OldEntry(record->tableEntry, record->rsrcKeys);
}

// The live record of the key, or null. It holds until the next change of the unit's configuration.
template <class T>
auto OrderedSwTableAccessor<T>::committedRecord(Key const& key) const -> ConfigRecord const* {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "key: {}", key);
  auto* const config = swTable_->configMap();
  if (config == nullptr) return nullptr;
  auto const* record = Shoal::readOr(*config, nullptr, [&] { return config->find(key); });
  return record == nullptr || record->isDeleted ? nullptr : record;
}

template <class T>
std::uint32_t OrderedSwTableAccessor<T>::entrys() const {
  auto const& adds = swTable_->transientAddEntrys();
  if (swTable_->transientRemoveAllVersion().valid()) return static_cast<std::uint32_t>(adds.size());
  auto const& entryLog = swTable_->entryLog();
  auto const unitId = swTable_->unitId();
  std::uint32_t count = entryLog->entrys(unitId);
  for (auto const& node : adds) {
    if (!entryLog->entryCounts(node.key(), unitId)) ++count;
  }
  for (auto const& node : swTable_->transientRemoveEntrys()) {
    if (entryLog->entryCounts(node.key(), unitId)) --count;
  }
  return count;
}

template <class T>
auto OrderedSwTableAccessor<T>::initIterState() const -> Pivot::Ptr<SwTableIteratorState> {
  auto const state = Pivot::make<SwTableIteratorState>();
  state->swTableIs(swTable_);
  state->state().tableRemovedIs(swTable_->transientRemoveAllVersion().valid());
  state->state().inAddCollIs(true);
  return state;
}

template <class T>
auto OrderedSwTableAccessor<T>::initIterStateFromKey(Key const& key) const
    -> Pivot::Ptr<SwTableIteratorState> {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, " key: {}", key);
  auto const state = Pivot::make<SwTableIteratorState>();
  bool const tableRemoved = swTable_->transientRemoveAllVersion().valid();
  state->swTableIs(swTable_);
  state->state().tableRemovedIs(tableRemoved);
  state->state().bookmarkValidIs(true);
  state->bookmarkKeyIs(key);
  if (swTable_->transientAddEntryFind(key) != nullptr) {
    state->state().inAddCollIs(true);
  } else if (!tableRemoved && swTable_->entryLog()->entryHas(key, swTable_->unitId())) {
    state->state().inTblCfgIs(true);
  }
  return state;
}

// Calls use(record) for each live record of the unit, in the store's order. The next record is found from the
// key, so use may replace or remove the present one; what it wants of the record it reads before. Damage ends
// the walk.
template <class T>
template <class Use>
void OrderedSwTableAccessor<T>::forEachCommitted(Use use) const {
  auto* const config = swTable_->configMap();
  if (config == nullptr) return;
  Shoal::forEach(*config, [&](auto const& record) {
    if (!record.isDeleted) use(record);
  });
}

// The linkages update each entry once for each of its resources. Nearly all come back as their resources are:
// the walk notes these, and they need no update (updateIsIdle). A resource that changes meanwhile says so by a
// notification or at restoreEnd, which ends this for the rest. A client's hook has a say in each update, and a
// trace of the steps, or a subscriber, wants to see them: then all updates are run.
//
// Unwatched, the walk reads some entries ahead of the one that it restores, so that what their resources are
// looked up in comes from memory meanwhile. No update reaches an entry in between: it is in no account yet. On a
// table that is not new one may; what was read before it disagrees with the resources then, and counts as not
// standing.
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
    runOnAllResourceLinkages([](auto& linkage) { linkage.restoreAbandon(); }, linkages...);
  };
  runOnAllResourceLinkages([&](auto& linkage) { unwatched = linkage.restoreBegin() && unwatched; },
                           linkages...);
  std::optional<RestoreFindings<Key>> found;
  if (unwatched) found.emplace().standing.reserve(swTable_->configMap()->size());
  auto const restore = [&](Pivot::Ptr<EntryWrapper> const& entry) {
    runOnAllResourceLinkages([&entry](auto& linkage) { linkage.restoreEntry(entry); }, linkages...);
  };
  auto const restoreRead = [&](ReadEntry& read) {
    if (!read.entry) return;
    resourcesFetch(read.entry, true);
    restore(read.entry);
    if (read.entry->agreesWithResources()) {
      found->standing.emplace(read.key, read.version);
    } else {
      found->complete = false;
    }
    read.entry = nullptr;
  };
  std::array<ReadEntry, kEntriesAhead> ahead;
  std::size_t turn = 0;
  forEachCommitted([&](ConfigRecord const& record) {
    Key const key = record.key();
    Pivot::Ptr<EntryHandle> entryHandle;
    if (traced) return restore(entryWrapperFromConfig(key, true, entryHandle));
    Entry const committed{record.tableEntry, record.rsrcKeys};
    if (!unwatched) return restore(entryWrapper(key, committed, true, entryHandle));
    LogVersion const version = record.logVersion;
    ReadEntry& read = ahead[turn++ % kEntriesAhead];
    restoreRead(read);
    read = {key, version, bareWrapper(key, committed, newEntryHandle(kFirstVersion, key, ResponseHandler()))};
    runOnAllResourceLinkages(
        [&read](auto& linkage) { read.fetching |= linkage.prefetchResource(read.entry); }, linkages...);
    ReadEntry const& halfWay = ahead[(turn + kEntriesAhead / 2) % kEntriesAhead];
    if (!halfWay.fetching) return;
    runOnAllResourceLinkages([&](auto& linkage) { linkage.prefetchHandle(halfWay.entry); }, linkages...);
  });
  for (std::size_t rest = 0; rest < kEntriesAhead; ++rest) restoreRead(ahead[turn++ % kEntriesAhead]);
  bool holds = unwatched;
  runOnAllResourceLinkages([&holds](auto& linkage) { holds = linkage.restoreEnd() && holds; }, linkages...);
  // The table refers to them until the updates are through, or a subscriber has thrown.
  absl::Cleanup const takenBack = [this] { swTable_->restoreFindingsIs(nullptr); };
  swTable_->restoreFindingsIs(holds ? &*found : nullptr);
  runOnAllResourceLinkages([](auto& linkage) { linkage.handleResourceChangeAtInit(); }, linkages...);
}

// The removes that the walk queues only add to what the walk skips, so it goes on over them.
template <class T>
std::uint32_t OrderedSwTableAccessor<T>::sweep() const {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "");
  std::uint32_t count = 0;
  if (!swTable_->inMarkingState()) return count;
  auto const state = swTable_->initIterState();
  Entry const none;
  for (Entry entry = state->maybeUpdateCurrentEntry(); !entry.isEq(none);
       entry = state->maybeUpdateCurrentEntry()) {
    Key const key = entry.logEntry.key;
    if (swTable_->markedKeyHas(key)) continue;
    swTable_->entryRemove(key, nullptr);
    ++count;
  }
  swTable_->inMarkingStateIs(false);
  swTable_->markedKeyDelAll();
  return count;
}

}  // namespace Asic
