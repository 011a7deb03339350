// The front door of one table instance, as the framework sees it: one object for each instance and process.
#pragma once

#include "Pivot/Node.h"

namespace Asic {

class OrderedTableInterface;

class LOAM_FRAMEWORK_EXPORT TableInterfaceBase : public Pivot::Node {
 public:
  Pivot::Ptr<OrderedTableInterface> const& orderedTableIntf() const { return orderedTableIntf_; }

  // Clears each unit that has contents in the store and no table. Called once the clients have made the
  // tables of the units that they serve; a unit without a table loses its entries.
  virtual void reconcile() = 0;

 protected:
  // REQUIRES: orderedTableIntf is not null.
  explicit TableInterfaceBase(Pivot::Ptr<OrderedTableInterface> orderedTableIntf);
  ~TableInterfaceBase() override;

 private:
  Pivot::Ptr<OrderedTableInterface> orderedTableIntf_;
};

}  // namespace Asic
