// The modules of the two root classes.
#include "Pivot/RootRecords.h"

#include "Pivot/ModuleTables.h"

namespace {

struct NodeRecord : Pivot::Inspect::Record<Pivot::Node> {};
struct EntityRecord : Pivot::Inspect::Record<Vex::Entity, Pivot::Node> {};

}  // namespace

PIVOT_DEFINE_MODULE(_Node_5b8d1f40c7e2a693_vexModule, NodeRecord)
PIVOT_DEFINE_MODULE(_Entity_e07c3a95d4f1826b_vexModule, EntityRecord)
