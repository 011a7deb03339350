#include "Asic/TableInterfaceBase.h"

#include <utility>

#include "Asic/OrderedTableInterface.h"
#include "Vex/Assert.h"

namespace Asic {

TableInterfaceBase::TableInterfaceBase(Pivot::Ptr<OrderedTableInterface> orderedTableIntf)
    : orderedTableIntf_(std::move(orderedTableIntf)) {
  VEX_ASSERT(orderedTableIntf_ != nullptr, "orderedTableIntf");
}
TableInterfaceBase::~TableInterfaceBase() = default;

}  // namespace Asic
