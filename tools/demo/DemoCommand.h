// `inlif demo`: an agent and a writer of the hardware as two real processes, driven over the agent's socket
// and compared at the end.
#pragma once

#include <string>

#include "tools/demo/Comparison.h"
#include "tools/support/Command.h"

namespace Inlif {

struct DemoOptions {
  std::string config;  // a switch configuration to serve instead of the generated work
  std::string writerKills = "0";
  std::string entries = "24000";
  std::string seed = "1";
  std::string hardware = "memory";
  std::string rate = "4000";  // frames a second, with the kernel
  bool json = false;          // the figures, with the kernel
  std::string directory;      // for store and logs; empty: a fresh one that is removed when all went well
};

// Compares, prints one row under the name given and the first differences; refused when there are any.
Pivot::Status compareAndPrint(Wishes const& wishes, char const* row);

// Exit status 1 when client, store and image differ, or an operation failed that should not, or the other way
// round.
Outcome runDemo(DemoOptions const& options);

}  // namespace Inlif
