#include "tools/config/ConfigCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/config/ConfigChange.h"
#include "tools/demo/AgentClient.h"
#include "tools/support/Progress.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

// The lines of a plan as they come, the first below a heading.
class PlanLines {
 public:
  explicit PlanLines(ConfigCommandOptions const& options) : json_(options.json), output_(options.verbose) {}

  void print(Json const& change) {
    static Columns const kColumns{{"does", 6}, {"table", 7}, {"key", 10, kRight}, {"interface"}};
    if (json_) return fmt::print("{}\n", jsonText(change));
    if (!std::exchange(isBegun_, true)) output_.print(headingOf(kColumns));
    output_.print(rowOf(kColumns, {change["does"].get<std::string>(), change["table"].get<std::string>(),
                                   jsonText(change["key"]), change["interface"].get<std::string>()}));
  }

 private:
  bool const json_;
  Output const output_;
  bool isBegun_ = false;
};

std::uint64_t countIn(Json const& counts, char const* name) {
  return counts[name].get<std::uint64_t>();
}

// The end of a plan; one that would be refused is a refusal.
Outcome planOutcome(Json const& counts, bool json) {
  if (json) {
    fmt::print("{}\n", jsonText(counts));
    return Outcome::done(counts.contains("refused") ? kRefused : kWell);
  }
  fmt::print("{} to add, {} to change, {} to remove, {} unchanged\n", countIn(counts, "added"),
             countIn(counts, "changed"), countIn(counts, "removed"), countIn(counts, "unchanged"));
  if (counts.contains("refused"))
    return Outcome::refused(Pivot::Status::refused(counts["refused"].get<std::string>()));
  return Outcome::done();
}

// A reading that leaves interfaces behind has found something: a script must not take it for a success.
Outcome readingOutcome(Json const& result, ConfigCommandOptions const& options) {
  Outcome const outcome = Outcome::done(countIn(result, "failed") > 0 ? kFound : kWell);
  if (options.json) {
    fmt::print("{}\n", jsonText(result));
    return outcome;
  }
  std::uint64_t const left = countIn(result, "leftToSweep");
  Output const output(options.verbose);
  output.print(
      {fmt::format("{}: {} written, {} removed, {} unchanged{}, {} failed", result["file"].get<std::string>(),
                   countIn(result, "writes"), countIn(result, "removed"), countIn(result, "unchanged"),
                   left > 0 ? fmt::format(", {} left to the sweep", left) : "", countIn(result, "failed"))});
  for (Json const& one : result["failedByTable"]) {
    output.print({fmt::format("{}: {} failed: {}{}", one["table"].get<std::string>(), jsonText(one["count"]),
                              fmt::join(one["sample"].get<std::vector<std::string>>(), ", "),
                              one["count"] > one["sample"].size() ? ", ..." : ""),
                  Tone::fault});
  }
  return outcome;
}

// Without an agent, against what an earlier one has left in the store.
Outcome planAlone(ConfigCommandOptions const& options) {
  ConfigChange change;
  Pivot::Status status = changeOf({options.file, Document::kMostFile, nullptr, {}}, change);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  PlanLines lines(options);
  for (std::size_t i = 0; i < change.lines(); ++i) lines.print(change.line(i));
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
  Pivot::Status status = absolutePath("config", given.file, options.file);
  if (status.isOk()) status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  AgentClient agent;
  Outcome const connected = connectToAgent(options.store, agent);
  if (!connected.isWell()) return options.plan ? planAlone(options) : connected;
  Json answer;
  PlanLines lines(options);
  std::optional<Progress> progress(std::in_place, "config: the agent reads " + options.file);
  agent.idleIs([&progress] {
    if (progress) progress->at(0);
  });
  status = agent.ask(
      {{"op", "config"}, {"id", 1}, {"file", options.file}, {"plan", options.plan}, {"force", options.force}},
      answer, AgentClient::kLongPatience, [&](Json const& message) {
        progress.reset();  // the lines stand on the same terminal
        if (message.contains("change")) lines.print(message["change"]);
      });
  progress.reset();
  if (!status.isOk()) return agent.outcome(std::move(status));
  answer.erase("id");
  answer.erase("ok");
  return options.plan ? planOutcome(answer, options.json) : readingOutcome(answer, options);
}

}  // namespace Inlif
