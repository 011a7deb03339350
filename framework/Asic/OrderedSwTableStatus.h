// Whether anything of one table instance is still on its way to the hardware. One object for each instance,
// shared by its units.
//
//   field id  attribute          published
//        130  tableId            never, it is fixed
//        131  pendingHwWrites    on each change, with the old value
#pragma once

#include <utility>

#include "Asic/SwTableId.h"
#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT OrderedSwTableStatus final : public Pivot::Node {
 public:
  COBBLE_SLAB_SHARED(OrderedSwTableStatus, Cobble::SlabAllocationPattern::kDefault)

  static constexpr Pivot::FieldId kFieldPendingHwWrites = 131;

  // Made with nothing pending.
  explicit OrderedSwTableStatus(SwTableId tableId) : tableId_(tableId) {}

  SwTableId tableId() const { return tableId_; }
  bool pendingHwWrites() const { return pendingHwWrites_; }
  void pendingHwWritesIs(bool pending) {
    if (pending == pendingHwWrites_) return;
    bool const old = std::exchange(pendingHwWrites_, pending);
    publisher_.publish(kFieldPendingHwWrites, nullptr, &old);
  }

  Pivot::Publisher* publisher() const override { return &publisher_; }
  Pivot::TypeData typeData() const override;

 private:
  SwTableId tableId_;
  bool pendingHwWrites_ = false;
  mutable Pivot::Publisher publisher_;
};

}  // namespace Asic
