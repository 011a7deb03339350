#include "tools/inspect/InspectCommand.h"

#include <fmt/format.h>

#include "tools/demo/AgentClient.h"
#include "tools/inspect/InspectPath.h"
#include "tools/inspect/NodePrinter.h"

namespace Inlif {
namespace {

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

Json operationFrom(InspectOptions const& options, std::uint64_t depth) {
  Json operation = {{"op", "inspect"}, {"id", 1}, {"path", options.path}, {"depth", depth}};
  if (options.count) operation["count"] = true;
  if (options.has) operation["has"] = true;
  if (options.remove) operation["remove"] = true;
  if (!options.write.empty()) operation["write"] = valuesFrom(options.write);
  if (options.call) operation["call"] = valuesFrom(options.arguments);
  return operation;
}

}  // namespace

Outcome runInspect(InspectOptions const& options) {
  std::uint64_t depth = 0;
  Pivot::Status status = numberOption("depth", options.depth, 0, kMostLevels, depth);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  AgentClient agent;
  Outcome outcome = connectToAgent(options.store, agent);
  if (!outcome.isWell()) return outcome;
  auto const printer = NodePrinter::make(options.json, Output(options.verbose));
  bool printed = false;
  Json answer;
  outcome = agent.outcome(
      agent.ask(operationFrom(options, depth), answer, AgentClient::kPatience, [&](Json const& node) {
        printer->print(node);
        printed = true;
      }));
  if (printed) printer->end();
  if (!outcome.isWell()) return outcome;
  for (char const* word : {"count", "has"}) {
    if (answer.contains(word)) fmt::print("{}\n", jsonText(answer[word]));
  }
  return outcome;
}

}  // namespace Inlif
