// `inlif torture`: agent and writer of the hardware as two processes that are killed at random moments and
// started again, cycle after cycle, with everything compared after each.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct TortureOptions {
  std::string cycles = "100";
  std::string seed = "1";
  std::string coldEvery = "20";  // cycles between two comparisons with a cold agent; 0: none
  std::string directory;         // for store and logs; empty: a fresh one that is removed when all went well
  bool full = false;             // on a file system that is full now and then
  bool damage = false;           // lose, damage and put back files as well
  bool refusals = false;         // a hardware that refuses, is late, and is reset
  bool json = false;
};

// Exit status 1 at the first difference; the line tells how to repeat the run.
Outcome runTorture(TortureOptions const& options);

}  // namespace Inlif
