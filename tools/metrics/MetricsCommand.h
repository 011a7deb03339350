// `inlif metrics`: what a store and its agent tell of themselves, as Prometheus reads it.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct MetricsOptions {
  std::string store;
  std::string output;  // a file, for a collector of text files; empty: standard output
  bool http = false;   // answers one request that comes on standard input
};

// Whether the agent answers is a metric, and no failure of the command.
Outcome runMetrics(MetricsOptions const& options);

}  // namespace Inlif
