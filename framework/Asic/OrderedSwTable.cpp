#include "Asic/OrderedSwTable.h"

#include <utility>

namespace Asic {

OrderedSwTable::OrderedSwTable(Pivot::Ptr<CanonicalTableName const> name, SwTableId tableId, UnitId unitId,
                               OrderedSwTableSet* swTableSet)
    : NamedSwTable(std::move(name)), tableId_(tableId), unitId_(unitId), swTableSet_(swTableSet) {}
OrderedSwTable::~OrderedSwTable() = default;

Pivot::Ptr<SwTableStats> const& OrderedSwTable::statsIs() {
  if (!stats_) {
    stats_ = Pivot::make<SwTableStats>();
    publisher_.publish(kFieldStats);
  }
  return stats_;
}

void OrderedSwTable::statusIs(Pivot::Ptr<OrderedSwTableStatus> const& status) {
  if (status == status_) return;
  Pivot::Ptr<OrderedSwTableStatus> const old = std::exchange(status_, status);
  publisher_.publish(kFieldStatus, nullptr, &old);
}

OrderedSwTable::EntryHandle::~EntryHandle() = default;

void OrderedSwTable::EntryHandle::end(EntryState state) {
  Pivot::Ptr<EntryHandle const> const kept(this);
  entryStateIs(state);
  if (!responseHandler_) return;
  ResponseHandler const handler = responseHandler_;
  handler(kept);
}

TableVersion OrderedSwTable::EntryHandle::entryTableVersion() const {
  return {tableId(), logVersion_};
}

}  // namespace Asic
