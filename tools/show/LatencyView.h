// `inlif show latency`: how long operations take on their way to the hardware, asked of the running agent.
#pragma once

#include <string>

#include "tools/show/Selection.h"
#include "tools/support/Command.h"

namespace Inlif {

// A member of a stage, microseconds, as people read it; "-" when it has none.
std::string timeText(Json const& stage, char const* member);

// Prints the figures of the selected tables and units; with `follow` every second, until interrupted.
Outcome showLatency(std::string const& store, Selection const& selection, bool follow);

}  // namespace Inlif
