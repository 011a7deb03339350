#include "tools/show/RetryCommand.h"

#include <fmt/format.h>

#include "tools/demo/AgentClient.h"
#include "tools/json/FailureJson.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {

Outcome runRetry(RetryOptions const& given) {
  RetryOptions options = given;
  if (!options.why.empty() && !retryClassOf(options.why)) {
    return Outcome::wrong(Pivot::Status::refused(
        fmt::format("--class {}: expected one of {}", shownText(options.why), retryClassNames())));
  }
  Selection selection;
  Outcome outcome = selectPlace(options.place, selection);
  if (!outcome.isWell()) return outcome;
  AgentClient agent;
  outcome = connectToAgent(options.place.store, agent);
  if (!outcome.isWell()) return outcome;
  Json operation = {{"op", "retry"}, {"id", 1}};
  addPlace(options.place, operation);
  if (!options.why.empty()) operation["class"] = options.why;
  Json end;
  auto const line = [&](Json const& message) {
    if (options.place.json)
      fmt::print("{}\n", jsonText(Json{{"refused", message["refused"]}}));
    else
      Output(true).print({message["refused"].get<std::string>()});
  };
  outcome = agent.outcome(agent.ask(operation, end, AgentClient::kPatience, line));
  if (!outcome.isWell()) return outcome;
  if (options.place.json)
    fmt::print("{}\n",
               jsonText(Json{{"published", end["published"]}, {"notPublished", end["notPublished"]}}));
  else
    fmt::print("{} published again, {} not\n", jsonText(end["published"]), jsonText(end["notPublished"]));
  return Outcome::done(end["notPublished"] == 0 ? kWell : kFound);
}

}  // namespace Inlif
