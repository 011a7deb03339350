// The operation `resource`: plays the owner of a resource table, to steer one resource or the table, and
// tells how it stands.
#pragma once

#include "Asic/OrderedTableInterface.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// Reads the operation from `in`, does it and fills `report`. False when it was refused, with the refusal in
// the reader; nothing has changed then. A change of a resource that committed entries use reaches them before
// this returns.
bool resourceAnswer(Asic::OrderedTableInterface& framework, ObjectReader& in, Json& report);

// The word of the protocol for a state.
char const* stateWord(Asic::EntryState state);

}  // namespace Inlif
