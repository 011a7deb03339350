#include "tools/show/LatencyView.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "tools/demo/AgentClient.h"

namespace Inlif {
namespace {

constexpr std::chrono::seconds kRefresh{1};

struct Stage {
  char const* member;
  char const* text;
};
constexpr Stage kStages[] = {
    {"behindOthers", "behind others"}, {"atHead", "at the head"}, {"toHardware", "to the hardware"}};

bool isSelected(Selection const& selection, Json const& unit) {
  std::string const name = unit["table"];
  auto const named = [&](std::size_t table) { return tables()[table].name == name; };
  return std::ranges::any_of(selection.tables, named) && (!selection.unit || *selection.unit == unit["unit"]);
}

void printFigures(Json const& units, Selection const& selection) {
  constexpr char const* kStageRow = "{:<8} {:>5}  {:<18} {:>10} {:>9} {:>9} {:>9} {:>9} {:>9} {:>9}\n";
  if (!selection.json)
    fmt::print(fmt::runtime(kStageRow), "table", "unit", "stage", "operations", "measured", "median", "90 %",
               "99 %", "99.9 %", "longest");
  for (Json const& unit : units) {
    if (!isSelected(selection, unit)) continue;
    if (selection.json) {
      fmt::print("{}\n", unit.dump());
      continue;
    }
    for (auto const& [member, text] : kStages) {
      Json const& stage = unit[member];
      fmt::print(fmt::runtime(kStageRow), unit["table"].get<std::string>(), unit["unit"].dump(), text,
                 stage["operations"].dump(), stage["measured"].dump(), timeText(stage, "p50Us"),
                 timeText(stage, "p90Us"), timeText(stage, "p99Us"), timeText(stage, "p999Us"),
                 timeText(stage, "maxUs"));
    }
  }
  std::fflush(stdout);
}

}  // namespace

std::string timeText(Json const& stage, char const* member) {
  if (!stage.contains(member)) return "-";
  double const us = stage[member].get<double>();
  if (us < 1000) return fmt::format("{:.1f} us", us);
  if (us < 1'000'000) return fmt::format("{:.1f} ms", us / 1000);
  return fmt::format("{:.1f} s", us / 1'000'000);
}

Outcome showLatency(std::string const& store, Selection const& selection, bool follow) {
  AgentClient agent;
  Outcome outcome = connectToAgent(store, agent);
  for (bool again = true; outcome.isWell() && again; again = follow && !std::ferror(stdout)) {
    Json answer;
    outcome = agent.outcome(agent.ask({{"op", "latency"}, {"id", 1}}, answer));
    if (outcome.isWell()) printFigures(answer["units"], selection);
    if (follow) std::this_thread::sleep_for(kRefresh);
  }
  return outcome;
}

}  // namespace Inlif
