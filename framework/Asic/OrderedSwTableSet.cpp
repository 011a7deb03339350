// The set of an instance's tables, and the upkeep of their common status.
#include "Asic/OrderedSwTableSet.h"

#include <utility>

#include "Vex/Assert.h"

namespace Asic {

COBBLE_TRACKER(OrderedSwTableSet)
COBBLE_TRACKER(OrderedSwTableStatus)

OrderedSwTableSet::OrderedSwTableSet(SwTableId tableId, Pivot::Ptr<OrderedSwTableStatus> status)
    : tableId_(tableId), status_(std::move(status)) {
  VEX_ASSERT(status_ != nullptr, "swTableStatus");
}

OrderedSwTableSet::~OrderedSwTableSet() = default;

Pivot::Ptr<OrderedSwTable> OrderedSwTableSet::swTable(UnitId unitId) const {
  auto const at = tables_.find(unitId);
  return at == tables_.end() ? nullptr : at->second;
}

void OrderedSwTableSet::swTableIs(Pivot::Ptr<OrderedSwTable> const& table) {
  VEX_ASSERT(table != nullptr, "swTable");
  auto const [at, entered] = tables_.try_emplace(table->unitId(), table);
  if (entered) return;
  if (lastPending_ == at->second.get()) lastPending_ = nullptr;
  // The old table goes only once the row is whole: its end may reach this set.
  Pivot::Ptr<OrderedSwTable> const old = std::exchange(at->second, table);
}

Pivot::Ptr<OrderedSwTable> OrderedSwTableSet::swTableDel(UnitId unitId) {
  auto const at = tables_.find(unitId);
  if (at == tables_.end()) return nullptr;
  Pivot::Ptr<OrderedSwTable> table = std::move(at->second);
  tables_.erase(at);
  if (lastPending_ == table.get()) lastPending_ = nullptr;
  return table;
}

void OrderedSwTableSet::swTableDelAll() {
  while (!tables_.empty()) swTableDel(tables_.begin()->first);
}

void OrderedSwTableSet::maybeUpdatePendingHwWrites(OrderedSwTable* changed) {
  if (lastPending_ == nullptr || !lastPending_->hasPendingHwWrites()) lastPending_ = findPending(changed);
  status_->pendingHwWritesIs(lastPending_ != nullptr);
}

OrderedSwTable* OrderedSwTableSet::findPending(OrderedSwTable* changed) const {
  if (changed != nullptr) {
    // A table that has not entered the set, or has left it, may end without a word.
    auto const at = tables_.find(changed->unitId());
    bool const isMember = at != tables_.end() && at->second == changed;
    if (isMember && changed->hasPendingHwWrites()) return changed;
    if (isMember && !status_->pendingHwWrites()) return nullptr;
  }
  for (auto const& [unitId, table] : tables_) {
    if (table.get() != changed && table->hasPendingHwWrites()) return table.get();
  }
  return nullptr;
}

}  // namespace Asic
