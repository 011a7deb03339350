#include "tools/show/RetryCommand.h"

#include <fmt/format.h>

#include "tools/demo/AgentClient.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {

Outcome runRetry(RetryOptions const& given) {
  RetryOptions options = given;
  Pivot::Status status = storeIs(options.store, false);
  if (status.isOk()) status = findInterface(options.table, options.unit, options.key);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  AgentClient agent;
  Outcome outcome = connectToAgent(options.store, agent);
  if (!outcome.isWell()) return outcome;
  Json operation = {{"op", "retry"}, {"id", 1}};
  if (!options.table.empty()) operation["table"] = options.table;
  if (!options.unit.empty()) operation["unit"] = options.unit;
  if (!options.key.empty()) operation["key"] = options.key;
  if (!options.why.empty()) operation["class"] = options.why;
  Json end;
  auto const line = [&](Json const& message) {
    if (options.json)
      fmt::print("{}\n", jsonText(Json{{"refused", message["refused"]}}));
    else
      Output(true).print({message["refused"].get<std::string>()});
  };
  outcome = agent.outcome(agent.ask(operation, end, AgentClient::kPatience, line));
  if (!outcome.isWell()) return outcome;
  if (options.json)
    fmt::print("{}\n",
               jsonText(Json{{"published", end["published"]}, {"notPublished", end["notPublished"]}}));
  else
    fmt::print("{} published again, {} not\n", jsonText(end["published"]), jsonText(end["notPublished"]));
  return Outcome::done(end["notPublished"] == 0 ? kWell : kFound);
}

}  // namespace Inlif
