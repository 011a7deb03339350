// The tables of one instance, one for each unit, and the status that they share.
//
// The interface of the instance and the group own the set; the set owns the tables, which point back to it. A
// table that has entered stays until the group is taken down: a unit that goes away is cleared, not deleted.
#pragma once

#include <absl/container/btree_map.h>

#include "Asic/OrderedSwTable.h"
#include "Asic/OrderedSwTableStatus.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT OrderedSwTableSet final : public Pivot::Node {
 public:
  COBBLE_SLAB_SHARED(OrderedSwTableSet, Cobble::SlabAllocationPattern::kDefault)

  // REQUIRES: status is not null.
  OrderedSwTableSet(SwTableId tableId, Pivot::Ptr<OrderedSwTableStatus> status);
  ~OrderedSwTableSet() override;
  Pivot::TypeData typeData() const override;

  SwTableId tableId() const { return tableId_; }
  Pivot::Ptr<OrderedSwTableStatus> const& status() const { return status_; }

  // The table of a unit, or null.
  Pivot::Ptr<OrderedSwTable> swTable(UnitId unitId) const;
  bool swTableHas(UnitId unitId) const { return tables_.contains(unitId); }
  bool empty() const { return tables_.empty(); }
  // Enters a table under its unit, in place of any that is there. REQUIRES: table is not null.
  void swTableIs(Pivot::Ptr<OrderedSwTable> const& table);
  // Takes a table out and returns it; null when the unit has none.
  Pivot::Ptr<OrderedSwTable> swTableDel(UnitId unitId);
  void swTableDelAll();

  // Calls f(Pivot::Ptr<OrderedSwTable> const&) for each table in order of unit. f may enter tables: one with
  // a higher unit than the present one is visited too.
  template <class F>
  void forEachTable(F&& f) const {
    for (auto at = tables_.begin(); at != tables_.end();) {
      UnitId const unit = at->first;
      Pivot::Ptr<OrderedSwTable> const table = at->second;
      f(table);
      at = tables_.upper_bound(unit);
    }
  }

  // Brings the status into line with the tables. Called after each operation that was accepted, committed or
  // acknowledged. While something is pending it asks the one table that was found pending last, so that it
  // costs the same for one unit and for sixteen; only when that table has finished are the others asked.
  // changed: the table on which something has just happened. With it, a set with nothing pending asks that
  // table alone; null asks all, and so does a table that is not of the set. It is enough since a table becomes
  // pending only through its own operations or through the log that all share.
  void maybeUpdatePendingHwWrites(OrderedSwTable* changed = nullptr);

 private:
  OrderedSwTable* findPending(OrderedSwTable* changed) const;

  SwTableId tableId_;
  Pivot::Ptr<OrderedSwTableStatus> status_;
  absl::btree_map<UnitId, Pivot::Ptr<OrderedSwTable>> tables_;
  // The table that was found pending last; in tables_ or null.
  OrderedSwTable* lastPending_ = nullptr;
};

}  // namespace Asic
