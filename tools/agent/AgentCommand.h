// `inlif agent`: an agent that takes operations until somebody says quit or a signal ends it.
#pragma once

#include <string>
#include <vector>

#include "agent/Restart.h"
#include "tools/agent/operations/ConfigClient.h"
#include "tools/support/Command.h"

namespace Inlif {

struct RestartOptions : LoamAgent::Restart::Options {
  std::vector<std::string> clients;  // expected from the start
  bool suppressInitialMark = false;
};

struct AgentOptions {
  std::string store;
  std::string input;  // a file, "-", or empty for the socket alone
  std::vector<std::string> traces;
  ConfigOptions config;
  RestartOptions restart;
};

Outcome runAgent(AgentOptions const& options);

}  // namespace Inlif
