#include "tools/show/TraceCommand.h"

#include <fmt/format.h>

#include "Vex/Trace.h"
#include "tools/agent/operations/TraceAnswer.h"
#include "tools/demo/AgentClient.h"

namespace Inlif {

Outcome runTrace(TraceOptions const& options) {
  TraceLevels checked;
  Pivot::Status status = traceLevelsFrom(options.levels, "trace", checked);
  std::uint64_t number = 0;
  if (status.isOk() && !options.lines.empty())
    status = numberOption("lines", options.lines, 1, kMostTraceLines, number);
  if (status.isOk() && !options.seconds.empty())
    status = numberOption("seconds", options.seconds, 1, kMostTraceSeconds, number);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  Json operation = {{"op", "trace"}, {"id", 1}};
  if (!options.levels.empty()) operation["levels"] = options.levels;
  if (!options.lines.empty()) operation["lines"] = options.lines;
  if (!options.seconds.empty()) operation["seconds"] = options.seconds;
  AgentClient agent;
  Json answer;
  Outcome outcome = connectToAgent(options.store, agent);
  if (outcome.isWell()) outcome = agent.outcome(agent.ask(operation, answer));
  if (!outcome.isWell()) return outcome;
  if (options.json) {
    answer.erase("id");
    answer.erase("ok");
    fmt::print("{}\n", jsonText(answer));
    return outcome;
  }
  bool others = false;
  for (auto const& [facility, level] : answer["levels"].items()) {
    bool const isOther = level != Vex::TraceControl::kDefaultLevel;
    if (isOther || options.verbose) fmt::print("{}/{}\n", facility, jsonText(level));
    others = others || isOther;
  }
  fmt::print("errors alone of all {}facilities; of a kind of error {} lines in {} s, then their number\n",
             others ? "other " : "", jsonText(answer["lines"]), jsonText(answer["seconds"]));
  return outcome;
}

}  // namespace Inlif
