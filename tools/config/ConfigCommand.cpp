#include "tools/config/ConfigCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tools/config/ConfigChange.h"
#include "tools/demo/AgentClient.h"

namespace Inlif {
namespace {

void printLine(Json const& change, bool json) {
  if (json) {
    fmt::print("{}\n", change.dump());
    return;
  }
  fmt::print("{:<7} {:<8} key {:<11} {}\n", change["does"].get<std::string>(),
             change["table"].get<std::string>(), change["key"].get<std::uint32_t>(),
             change["interface"].get<std::string>());
}

std::uint64_t countIn(Json const& counts, char const* name) {
  return counts[name].get<std::uint64_t>();
}

// The end of a plan; one that would be refused is a refusal.
Outcome planOutcome(Json const& counts, bool json) {
  if (json) {
    fmt::print("{}\n", counts.dump());
    return Outcome::done(counts.contains("refused") ? kRefused : kWell);
  }
  fmt::print("{} to add, {} to change, {} to remove, {} unchanged\n", countIn(counts, "added"),
             countIn(counts, "changed"), countIn(counts, "removed"), countIn(counts, "unchanged"));
  if (counts.contains("refused"))
    return Outcome::refused(Pivot::Status::refused(counts["refused"].get<std::string>()));
  return Outcome::done();
}

Outcome readingOutcome(Json const& result, bool json) {
  if (json) {
    fmt::print("{}\n", result.dump());
    return Outcome::done();
  }
  fmt::print("{}: {} written, {} removed, {} unchanged", result["file"].get<std::string>(),
             countIn(result, "writes"), countIn(result, "removed"), countIn(result, "unchanged"));
  if (countIn(result, "leftToSweep") > 0)
    fmt::print(", {} left to the sweep", countIn(result, "leftToSweep"));
  fmt::print(", {} failed\n", countIn(result, "failed"));
  for (Json const& one : result["failedByTable"]) {
    fmt::print("{}: {} failed: {}{}\n", one["table"].get<std::string>(), one["count"].dump(),
               fmt::join(one["sample"].get<std::vector<std::string>>(), ", "),
               one["count"] > one["sample"].size() ? ", ..." : "");
  }
  return Outcome::done();
}

// Without an agent, against what an earlier one has left in the store.
Outcome planAlone(ConfigCommandOptions const& options) {
  ConfigChange change;
  Pivot::Status status = changeOf({options.file, Document::kMostFile, nullptr, {}}, change);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  for (std::size_t i = 0; i < change.lines(); ++i) printLine(change.line(i), options.json);
  Json counts = {{"file", options.file}};
  counts.update(change.counts());
  Pivot::Status const check = change.checkRemoval(options.file, ConfigLimits().removePercent);
  if (!check.isOk()) counts["refused"] = check.message();
  return planOutcome(counts, options.json);
}

}  // namespace

Outcome runConfig(ConfigCommandOptions const& given) {
  ConfigCommandOptions options = given;
  // The agent may have been started in another directory.
  options.file = std::filesystem::absolute(given.file).string();
  Pivot::Status status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  letOutputFail();
  AgentClient agent;
  Outcome const connected = connectToAgent(options.store, agent);
  if (!connected.isWell()) return options.plan ? planAlone(options) : connected;
  Json answer;
  status = agent.ask(
      {{"op", "config"}, {"id", 1}, {"file", options.file}, {"plan", options.plan}, {"force", options.force}},
      answer, AgentClient::kLongPatience, [&options](Json const& message) {
        if (message.contains("change")) printLine(message["change"], options.json);
      });
  if (!status.isOk()) return agent.outcome(std::move(status));
  answer.erase("id");
  answer.erase("ok");
  return options.plan ? planOutcome(answer, options.json) : readingOutcome(answer, options.json);
}

}  // namespace Inlif
