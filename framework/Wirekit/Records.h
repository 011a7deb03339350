// The name of the interface id, for inspection. It prints as the interface's name.
#pragma once

#include "Pivot/ValueType.h"
#include "Wirekit/IntfId.h"

PIVOT_NAME_TYPE(Wirekit::IntfId)
