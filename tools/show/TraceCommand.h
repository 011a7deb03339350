// `inlif trace`: what the running agent traces, and a change of that without a restart.
#pragma once

#include <string>
#include <vector>

#include "tools/support/Command.h"

namespace Inlif {

struct TraceOptions {
  std::vector<std::string> levels;  // FACILITY/LEVEL, set in this order
  std::string store;
  std::string lines;  // of a kind of error, before they are folded; empty: as it is
  std::string seconds;
  bool json = false;
  bool verbose = false;  // every facility
};

// Prints what is set in the end.
Outcome runTrace(TraceOptions const& options);

}  // namespace Inlif
