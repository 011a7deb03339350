// `inlif check`: verifies every file of a store and what the files say of each other.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct CheckOptions {
  std::string store;
  std::string pins;  // of the kernel as hardware, to be compared with the image; empty: not compared
  bool repair = false;
  bool json = false;
  bool verbose = false;
};

// Exit status 0: nothing found, 1: findings, 2: it could not be looked at, or may not be repaired because a
// process is at work on it.
Outcome runCheck(CheckOptions const& options);

}  // namespace Inlif
