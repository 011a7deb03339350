// What a running agent knows of a restart that the store does not tell: added to the view of `show status`.
#pragma once

#include <vector>

#include "tools/json/ObjectReader.h"

namespace Inlif {

// Asks the agent of the store, if one runs, and adds to each table of the view `clients`, `unserved` (units without
// a table) and to each of its units `restored`, `marking`, `marked`, `suppressed` and `swept`. Without an agent, or
// with one that stays silent for a second, the view stays as it is.
void addAgentView(std::vector<Json>& view);

}  // namespace Inlif
