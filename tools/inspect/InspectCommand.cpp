#include "tools/inspect/InspectCommand.h"

#include <fmt/format.h>

#include <cstdio>

#include "tools/agent/Listener.h"
#include "tools/demo/AgentClient.h"
#include "tools/inspect/NodePrinter.h"

namespace Inlif {
namespace {

// What an agent needs at most between two lines of an answer.
constexpr int kPatienceMilliseconds = 60'000;

// A struct and null are JSON; everything else goes as the text that it is, so that "017" stays three digits.
Json valueFrom(std::string const& text) {
  Document value;
  if (text.starts_with('{') && value.parse(text).isOk()) return jsonOf(value.root());
  return text;
}

Json valuesFrom(std::vector<std::string> const& texts) {
  Json values = Json::array();
  for (std::string const& text : texts) values.push_back(valueFrom(text));
  return values;
}

Json operationFrom(InspectOptions const& options) {
  Json operation = {{"op", "inspect"}, {"id", 1}, {"path", options.path}, {"depth", options.depth}};
  if (options.count) operation["count"] = true;
  if (options.has) operation["has"] = true;
  if (options.remove) operation["remove"] = true;
  if (!options.write.empty()) operation["write"] = valuesFrom(options.write);
  if (options.call) operation["call"] = valuesFrom(options.arguments);
  return operation;
}

// Takes the lines of the answer as they come. Events of the agent have no id and are passed over.
Pivot::Status receive(AgentClient& agent, NodePrinter& printer, bool& printed, Json& answer) {
  while (!agent.closed()) {
    Json message;
    if (!agent.receive(message, kPatienceMilliseconds)) {
      if (agent.closed()) break;
      return Pivot::Status::refused(
          fmt::format("no answer from the agent within {} s", kPatienceMilliseconds / 1000));
    }
    if (!message.contains("id")) continue;
    if (!message.contains("ok")) {
      printer.print(message);
      printed = true;
      continue;
    }
    if (!message["ok"].get<bool>()) return Pivot::Status::refused(message["error"].get<std::string>());
    answer = std::move(message);
    return Pivot::Status::ok();
  }
  return Pivot::Status::refused("the agent went away before it had answered");
}

}  // namespace

Outcome runInspect(InspectOptions const& options) {
  Pivot::Status status = storeIs(options.store, false);
  AgentClient agent;
  if (status.isOk()) status = agent.connect(socketPath(options.store));
  if (!status.isOk()) return Outcome::refused(std::move(status));
  agent.send(operationFrom(options));
  auto const printer = NodePrinter::make(options.json);
  bool printed = false;
  Json answer;
  status = receive(agent, *printer, printed, answer);
  if (printed) printer->end();
  if (!status.isOk()) return Outcome::refused(std::move(status));
  for (char const* word : {"count", "has"}) {
    if (answer.contains(word)) fmt::print("{}\n", answer[word].dump());
  }
  return Outcome::done();
}

}  // namespace Inlif
