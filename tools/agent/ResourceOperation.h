// The operation `resource`: plays the owner of a resource table, to steer one resource or the table, and
// tells how it stands.
#pragma once

#include "Asic/OrderedTableInterface.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// Reads the operation from `in`, does it and fills `report`. False when it was refused, with the refusal in
// the reader; nothing has changed then. A resource that committed entries use is told about but not changed.
bool resourceOperation(Asic::OrderedTableInterface& framework, ObjectReader& in, Json& report);

}  // namespace Inlif
