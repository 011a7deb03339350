// `inlif show status` for people: the processes, how far each table is, its units, and what is wrong.
#pragma once

#include <vector>

#include "tools/json/Json.h"
#include "tools/support/Text.h"

namespace Inlif {

// Of what statusView and addAgentView give, and of both processes. Without `all`, tables that nobody has used and columns of
// zeros are left out.
std::vector<Line> statusLines(std::vector<Json> const& view, Json const& processes, bool all);

}  // namespace Inlif
