// Bodies of OrderedSwTableAccessor: the merged view of what is pending and what is committed. Included by
// OrderedSwTableAccessor-defs.h only.
#pragma once

#include "OrderedTable/OrderedSwTableAccessor.h"
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

}  // namespace Asic
