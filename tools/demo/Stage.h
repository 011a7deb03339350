// The two processes of demo and torture and the client that drives them: started, killed and ended together.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tools/demo/AgentClient.h"
#include "tools/demo/Process.h"
#include "tools/support/Command.h"

namespace Inlif {

class Stage {
 public:
  // `directory` exists; store and logs come below it. The arguments follow the store of each process.
  explicit Stage(std::string const& directory, std::vector<std::string> const& agentArguments = {},
                 std::vector<std::string> const& writerArguments = {});

  // Names the store for reading, starts both processes and connects.
  Pivot::Status open();
  // Names the store for reading: what this process reads from now on is this stage's.
  Pivot::Status nameStore() { return storeIs(store_, true); }
  // Starts what does not run.
  Pivot::Status start();
  // Waits until the agent takes the connection. Refused when it ends before.
  Pivot::Status connect();
  AgentClient& client() { return client_; }
  Process& agent() { return agent_; }
  Process& writer() { return writer_; }
  std::string const& store() const { return store_; }

  // A writer that was killed is started again by check() from now on, after `before`.
  void reviveWriter(std::function<void()> before) { beforeRevival_ = std::move(before); }
  // Refused when a process has ended.
  Pivot::Status check();
  // Kills the writer, wherever it is, and starts it again.
  Pivot::Status restartWriter();
  // Kills the agent, wherever it is, and drops the connection.
  void killAgent();
  // Has the agent free everything and end, then ends the writer. Refused when either does not end cleanly.
  Pivot::Status close();
  // What both processes said last, for a run that failed.
  std::string lastWords() const { return agent_.lastWords() + writer_.lastWords(); }

 private:
  std::string store_;
  Process agent_;
  Process writer_;
  AgentClient client_;
  std::function<void()> beforeRevival_;
};

}  // namespace Inlif
