// The answer to the operation `inspect`: reads, counts and walks what the records of the process show, and
// changes it or calls it when the operation says so in as many words. docs/json-protocol.md is the protocol.
// Only what an operation of a class does is done in one go. On the agent's one thread.
#pragma once

#include <memory>
#include <vector>

#include "tools/agent/operations/SteppedAnswer.h"
#include "tools/inspect/Roots.h"

namespace Inlif {

// Reads the rest of the operation; null when something in it was refused.
std::unique_ptr<SteppedAnswer> inspectAnswer(Asker asker, ObjectReader& in, std::vector<Root> roots);

}  // namespace Inlif
