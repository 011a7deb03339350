// `inlif writer`: runs the writer of the hardware until a signal ends it.
#pragma once

#include <string>
#include <vector>

#include "tools/kernel/KernelTarget.h"
#include "tools/support/Command.h"

namespace Inlif {

struct WriterOptions {
  std::string store;
  std::vector<std::string> traces;
  std::string rate;    // records a second; empty: no limit
  std::string faults;  // one write in so many makes trouble; empty: none
  std::string hardware = "memory";
  KernelArguments kernel;
};

Outcome runWriter(WriterOptions const& options);

}  // namespace Inlif
