#include "tools/demo/Stage.h"

#include <chrono>
#include <thread>

#include "tools/agent/loop/Listener.h"

namespace Inlif {
namespace {

constexpr std::chrono::seconds kStart{30};

std::vector<std::string> withStore(char const* command, std::string const& store,
                                   std::vector<std::string> const& more) {
  std::vector<std::string> arguments{command, "--store", store};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

Pivot::Status endOf(Process const& process, char const* otherwise) {
  return Pivot::Status::refused(process.end().empty() ? otherwise : process.end());
}

}  // namespace

Stage::Stage(std::string const& directory, std::vector<std::string> const& agentArguments,
             std::vector<std::string> const& writerArguments)
    : store_(directory + "/store"),
      agent_("agent", withStore("agent", store_, agentArguments), directory + "/agent.log"),
      writer_("writer", withStore("writer", store_, writerArguments), directory + "/writer.log") {}

Pivot::Status Stage::open() {
  Pivot::Status status = nameStore();
  if (status.isOk()) status = start();
  return status.isOk() ? connect() : status;
}

Pivot::Status Stage::start() {
  // The writer first: it has to wait for everything.
  Pivot::Status status = Pivot::Status::ok();
  if (!writer_.running()) status = writer_.start();
  if (status.isOk() && !agent_.running()) {
    client_.disconnect();
    status = agent_.start();
  }
  return status;
}

Pivot::Status Stage::connect() {
  auto const end = std::chrono::steady_clock::now() + kStart;
  Pivot::Status status = Pivot::Status::ok();
  do {
    status = client_.connect(socketPath(store_));
    if (status.isOk()) return status;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  } while (agent_.running() && std::chrono::steady_clock::now() < end);
  return agent_.end().empty() ? status : endOf(agent_, "");
}

Pivot::Status Stage::check() {
  if (!agent_.running()) return endOf(agent_, "the agent has ended by itself");
  if (writer_.running()) return Pivot::Status::ok();
  if (beforeRevival_ && writer_.killed()) {
    beforeRevival_();
    return writer_.start();
  }
  return endOf(writer_, "the writer has ended by itself");
}

Pivot::Status Stage::restartWriter() {
  writer_.kill();
  return writer_.start();
}

void Stage::killAgent() {
  agent_.kill();
  client_.disconnect();
}

Pivot::Status Stage::close() {
  if (!client_.connected()) return Pivot::Status::refused("the agent was not reached");
  Json answer;
  Pivot::Status status = client_.ask({{"op", "quit"}, {"id", "quit"}}, answer, AgentClient::kLongPatience);
  Pivot::Status const agentEnd = status.isOk() ? agent_.join() : agent_.terminate();
  Pivot::Status const writerEnd = writer_.terminate();
  if (status.isOk()) status = agentEnd;
  return status.isOk() ? writerEnd : status;
}

}  // namespace Inlif
