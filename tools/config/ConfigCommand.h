// `inlif config`: has the running agent read a switch configuration, or tells what that would change.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct ConfigCommandOptions {
  std::string file;
  std::string store;
  bool plan = false;
  bool force = false;
  bool json = false;
  bool verbose = false;
};

Outcome runConfig(ConfigCommandOptions const& options);

}  // namespace Inlif
