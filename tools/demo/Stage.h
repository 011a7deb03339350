// The two processes of the demo and the client that drives them: started, killed and ended together.
#pragma once

#include <string>

#include "tools/demo/AgentClient.h"
#include "tools/demo/Process.h"
#include "tools/support/Command.h"

namespace Inlif {

class Stage {
 public:
  // `directory` exists; `config` is the agent's configuration or empty.
  Stage(std::string const& directory, std::string const& config);

  // Names the store for reading, starts both processes and connects.
  Pivot::Status open();
  AgentClient& client() { return client_; }
  // Refused when a process has ended by itself.
  Pivot::Status check();
  // Kills the writer, wherever it is, and starts it again.
  Pivot::Status restartWriter();
  // Has the agent free everything and end, then ends the writer. Refused when either does not end cleanly.
  Pivot::Status close();
  // What both processes said last, for a demo that failed.
  std::string lastWords() const { return agent_.lastWords() + writer_.lastWords(); }

 private:
  std::string store_;
  Process agent_;
  Process writer_;
  AgentClient client_;
};

}  // namespace Inlif
