// Bodies of IterStateAccessor; included where a table's walk is instantiated, and nowhere else.
#pragma once

#include "OrderedTable/IterStateAccessor.h"
#include "Shoal/ReportedReads.h"
#include "Vex/Assert.h"

namespace Asic {

template <class IterState, class SwTable>
auto IterStateAccessor<IterState, SwTable>::maybeUpdateCurrentEntry() const -> Entry {
  VEX_TRACE_AT(traceHandle_, 8, kFileName, "");
  auto& state = iterState_->state();
  // Null in a state that no table has begun; it is in no phase, and its steps end below.
  auto const* const swTable = static_cast<SwTable const*>(iterState_->swTable());
  Entry entry;
  if (state.inAddColl()) {
    VEX_ASSERT(!iterState_->state().inTblCfg(), "!iterState_->state().inTblCfg()");
    if (stepTransient(*swTable, entry)) return entry;
  }
  if (state.inTblCfg()) {
    VEX_ASSERT(!iterState_->state().inAddColl(), "!iterState_->state().inAddColl()");
    if (stepConfig(*swTable, entry)) return entry;
  }
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  no more entries");
  state.entryValidIs(false);
  state.inAddCollIs(false);
  state.inTblCfgIs(false);
  return entry;
}

// When the bookmarked write has gone and nothing comes after it, the bookmark stays: if the key has been
// committed meanwhile, the configuration goes on with it.
template <class IterState, class SwTable>
bool IterStateAccessor<IterState, SwTable>::stepTransient(SwTable const& swTable, Entry& entry) const {
  auto& state = iterState_->state();
  auto const& adds = swTable.transientAddEntrys();
  auto at = state.bookmarkValid() ? adds.iteratorFrom(iterState_->bookmarkKey()) : adds.begin();
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  in transientAdd collection");
  if (at == adds.end()) {
    endTransientPart();
    return false;
  }
  state.entryValidIs(true);
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  found entry: {}", at->key());
  entry = at->value()->entry();
  if (++at != adds.end()) {
    iterState_->bookmarkKeyIs(at->key());
    state.bookmarkValidIs(true);
  } else {
    state.bookmarkValidIs(false);
    endTransientPart();
  }
  return true;
}

template <class IterState, class SwTable>
void IterStateAccessor<IterState, SwTable>::endTransientPart() const {
  auto& state = iterState_->state();
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  done with transAdd");
  state.inAddCollIs(false);
  if (!state.tableRemoved()) state.inTblCfgIs(true);
}

template <class IterState, class SwTable>
bool IterStateAccessor<IterState, SwTable>::stepConfig(SwTable const& swTable, Entry& entry) const {
  auto& state = iterState_->state();
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  in cfgShoal collection");
  auto* const config = swTable.configMap();
  if (config == nullptr) return false;
  Shoal::IterHint hint;
  ConfigRecord const* const record = candidate(swTable, *config, hint);
  if (record == nullptr) return false;
  state.entryValidIs(true);
  Key const key = record->key();
  entry = Entry{record->tableEntry, record->rsrcKeys};
  VEX_TRACE_AT(traceHandle_, 9, kFileName, "  found entry: {}", key);
  Key next;
  if (Shoal::readOr(*config, false, [&] { return config->nextKey(key, next, hint); })) {
    iterState_->bookmarkKeyIs(next);
    state.bookmarkValidIs(true);
  } else {
    VEX_TRACE_AT(traceHandle_, 9, kFileName, "  done with cfgShoal");
    state.bookmarkValidIs(false);
    state.inTblCfgIs(false);
  }
  return true;
}

// The first record from the bookmark on, or from the start, that the walk has not delivered and that is there
// for a reader; null when there is none.
template <class IterState, class SwTable>
auto IterStateAccessor<IterState, SwTable>::candidate(SwTable const& swTable, ConfigMap& config,
                                                      Shoal::IterHint& hint) const -> ConfigRecord const* {
  ConfigRecord const* record = nullptr;
  if (iterState_->state().bookmarkValid()) {
    Key const bookmark = iterState_->bookmarkKey();
    record = Shoal::readOr(config, nullptr, [&] { return config.find(bookmark); });
    if (record == nullptr)
      record = Shoal::readOr(config, nullptr, [&] { return config.next(bookmark, hint); });
  } else {
    record = Shoal::readOr(config, nullptr, [&] { return config.first(hint); });
  }
  while (record != nullptr && isSkipped(swTable, *record)) {
    Key const key = record->key();
    record = Shoal::readOr(config, nullptr, [&] { return config.next(key, hint); });
  }
  return record;
}

template <class IterState, class SwTable>
bool IterStateAccessor<IterState, SwTable>::isSkipped(SwTable const& swTable, ConfigRecord const& record) {
  if (record.isDeleted) return true;
  Key const key = record.key();
  return swTable.transientRemoveEntryFind(key) != nullptr || swTable.transientAddEntryFind(key) != nullptr;
}

}  // namespace Asic
