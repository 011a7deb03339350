// `inlif load`: writes the lines of a dump into a running agent, or, where none runs, into an empty store.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct LoadOptions {
  std::string file;  // "-" is standard input
  std::string store;
  bool json = false;
};

// Exit status 1 when entries failed or were refused by the agent; 3 when a line is wrong, and then nothing is written,
// or when not all could be written.
Outcome runLoad(LoadOptions const& options);

}  // namespace Inlif
