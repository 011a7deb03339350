#include "tools/show/LatencyView.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "tools/demo/AgentClient.h"
#include "tools/support/Command.h"
#include "tools/support/Text.h"

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
  TextTable out({{"table"},
                 {"unit", 0, kRight},
                 {"stage"},
                 {"median", 8, kRight},
                 {"99 %", 8, kRight},
                 {"99.9 %", 8, kRight},
                 {"longest", 8, kRight},
                 {"90 %", 8, kRight},
                 {"operations", 0, kRight},
                 {"measured", 0, kRight}});
  for (Json const& unit : units) {
    if (!isSelected(selection, unit)) continue;
    if (selection.json) fmt::print("{}\n", jsonText(unit));
    for (auto const& [member, text] : kStages) {
      Json const& stage = unit[member];
      if (!selection.verbose && stage["operations"] == 0) continue;
      out.add({unit["table"].get<std::string>(), jsonText(unit["unit"]), text, timeText(stage, "p50Us"),
               timeText(stage, "p99Us"), timeText(stage, "p999Us"), timeText(stage, "maxUs"),
               timeText(stage, "p90Us"), jsonText(stage["operations"]), jsonText(stage["measured"])});
    }
  }
  if (!selection.json) Output(selection.verbose).print(out.linesOr("no operation has passed a stage yet"));
  flushOutput();
}

}  // namespace

std::string timeText(Json const& stage, char const* member) {
  if (!stage.contains(member)) return "-";
  return durationText(std::chrono::duration<double, std::micro>(stage[member].get<double>()));
}

Outcome showLatency(std::string const& store, Selection const& selection, bool follow) {
  AgentClient agent;
  Outcome outcome = connectToAgent(store, agent);
  for (bool again = true; outcome.isWell() && again; again = follow) {
    Json answer;
    outcome = agent.outcome(agent.ask({{"op", "latency"}, {"id", 1}}, answer));
    if (outcome.isWell()) printFigures(answer["units"], selection);
    if (follow) std::this_thread::sleep_for(kRefresh);
  }
  return outcome;
}

}  // namespace Inlif
