// `inlif top`: how agent and writer stand, live on one screen.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct TopOptions {
  std::string store;
  std::string seconds = "1";  // between two looks
  bool once = false;
  bool json = false;
  bool verbose = false;  // of one look
};

// Goes on until it is told to end. Where standard output is no terminal, as with `once`, it looks once.
Outcome runTop(TopOptions const& options);

}  // namespace Inlif
