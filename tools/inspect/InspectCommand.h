// `inlif inspect`: asks a running agent what it holds, by path, and changes or calls it when told to.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/support/Command.h"

namespace Inlif {

struct InspectOptions {
  std::string path;
  std::string store;
  unsigned depth = 1;
  bool json = false;
  bool count = false;
  bool has = false;
  bool remove = false;
  std::optional<std::vector<std::string>> write;
  std::optional<std::vector<std::string>> call;
};

Outcome runInspect(InspectOptions const& options);

}  // namespace Inlif
