#include "tools/demo/Stage.h"

#include <chrono>
#include <thread>

#include "tools/agent/Listener.h"

namespace Inlif {
namespace {

constexpr std::chrono::seconds kStart{30};

std::vector<std::string> agentArguments(std::string const& store, std::string const& config) {
  std::vector<std::string> arguments{"agent", "--store", store};
  if (!config.empty()) arguments.insert(arguments.end(), {"--config", config});
  return arguments;
}

}  // namespace

Stage::Stage(std::string const& directory, std::string const& config)
    : store_(directory + "/store"),
      agent_("agent", agentArguments(store_, config), directory + "/agent.log"),
      writer_("writer", {"writer", "--store", store_}, directory + "/writer.log") {}

Pivot::Status Stage::open() {
  Pivot::Status status = storeIs(store_, true);
  // The writer first: it has to wait for everything.
  if (status.isOk()) status = writer_.start();
  if (status.isOk()) status = agent_.start();
  if (!status.isOk()) return status;
  auto const end = std::chrono::steady_clock::now() + kStart;
  do {
    status = client_.connect(socketPath(store_));
    if (status.isOk()) return status;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  } while (agent_.running() && std::chrono::steady_clock::now() < end);
  return status;
}

Pivot::Status Stage::check() {
  if (!agent_.running()) return Pivot::Status::refused("the agent has ended by itself");
  if (!writer_.running()) return Pivot::Status::refused("the writer has ended by itself");
  return Pivot::Status::ok();
}

Pivot::Status Stage::restartWriter() {
  writer_.kill();
  return writer_.start();
}

Pivot::Status Stage::close() {
  if (!client_.connected()) return Pivot::Status::refused("the agent was never reached");
  Json answer;
  Pivot::Status status = client_.ask({{"op", "quit"}, {"id", "quit"}}, answer);
  Pivot::Status const agentEnd = status.isOk() ? agent_.join() : agent_.terminate();
  Pivot::Status const writerEnd = writer_.terminate();
  if (status.isOk()) status = agentEnd;
  return status.isOk() ? writerEnd : status;
}

}  // namespace Inlif
