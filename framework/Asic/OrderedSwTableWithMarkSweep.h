// An ordered table that comes back after a restart with what it held, and finds out what nobody claims any
// more: between mark() and sweep() it notes each key that a client writes, and sweep() removes the others.
#pragma once

#include "Asic/OrderedSwTable.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT OrderedSwTableWithMarkSweep : public OrderedSwTable {
 public:
  // Begins the noting; without effect while it is under way.
  virtual void mark() = 0;
  // Removes what was not written since mark() and ends the noting; without effect when no noting is under
  // way.
  virtual void sweep() = 0;

 protected:
  using OrderedSwTable::OrderedSwTable;
  ~OrderedSwTableWithMarkSweep() override;
};

}  // namespace Asic
