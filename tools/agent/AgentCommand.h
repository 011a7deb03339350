// `inlif agent`: an agent that takes operations until somebody says quit or a signal ends it.
#pragma once

#include <string>
#include <vector>

#include "tools/agent/ConfigClient.h"
#include "tools/agent/RestartOperations.h"
#include "tools/support/Command.h"

namespace Inlif {

struct AgentOptions {
  std::string store;
  std::string input;  // a file, "-", or empty for the socket alone
  std::vector<std::string> traces;
  ConfigOptions config;
  RestartOptions restart;
};

Outcome runAgent(AgentOptions const& options);

}  // namespace Inlif
