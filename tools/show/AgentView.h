// What a running agent knows of a restart that the store does not tell: added to the view of `show status`.
#pragma once

#include <string>
#include <vector>

#include "tools/json/Json.h"
#include "tools/support/Command.h"

namespace Inlif {

// Asks the agent of the store, if one runs, and adds to each table of the view `clients`, `unserved` (units without
// a table), `behindMs` (age of the oldest version that is not reported) and to each of its units `restored`, `marking`,
// `marked`, `suppressed` and `swept`. Without an agent the view stays as it is, and all is well; with one that does not
// answer too, and the outcome says so.
Outcome addAgentView(std::string const& store, std::vector<Json>& view);

}  // namespace Inlif
