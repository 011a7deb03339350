// `inlif inspect`: asks a running agent what it holds, by path, and changes or calls it when told to.
#pragma once

#include <string>
#include <vector>

#include "tools/support/Command.h"

namespace Inlif {

struct InspectOptions {
  std::string path;
  std::string store;
  std::string depth = "1";
  bool json = false;
  bool verbose = false;
  bool count = false;
  bool has = false;
  bool remove = false;
  std::vector<std::string> write;  // empty: nothing is written
  bool call = false;
  std::vector<std::string> arguments;  // of the call
};

Outcome runInspect(InspectOptions const& options);

}  // namespace Inlif
