// `inlif show`: looks at what agent and writer left in the store, read-only, beside running processes.
#pragma once

#include <string>
#include <vector>

#include "tools/support/Command.h"

namespace Inlif {

struct ShowOptions {
  std::string what;       // config, log, image, status, latency, failures, errors or interface
  std::string interface;  // of the last
  std::string store;
  std::string table;  // empty: all
  std::string unit;
  std::string key;
  bool follow = false;
  bool json = false;
  bool verbose = false;
};

// What there is to show.
std::vector<std::string> viewNames();

Outcome runShow(ShowOptions const& options);

}  // namespace Inlif
