// The records of the two root classes, Pivot::Node and Vex::Entity. Neither has a field.
#pragma once

#include "Pivot/Entity.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueType.h"

PIVOT_DECLARE_MODULE(_Node_5b8d1f40c7e2a693_vexModule)
PIVOT_DECLARE_MODULE(_Entity_e07c3a95d4f1826b_vexModule)

PIVOT_NAME_TYPE(Pivot::Node, &_Node_5b8d1f40c7e2a693_vexModule, 0)
PIVOT_NAME_TYPE(Vex::Entity, &_Entity_e07c3a95d4f1826b_vexModule, 0)
