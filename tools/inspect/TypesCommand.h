// `inlif types`: the modules, classes and fields that inspection knows. The records are constant data of the
// libraries, so this needs no agent and no store.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct TypesOptions {
  // A class by its full name or the end of it, or a module; empty: all.
  std::string name;
  bool json = false;
  bool verbose = false;
};

Outcome runTypes(TypesOptions const& options);

}  // namespace Inlif
