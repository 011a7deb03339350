#include "tools/top/TopScreen.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/show/LatencyView.h"
#include "tools/show/WhyCommand.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

constexpr std::size_t kMostCauses = 5;
constexpr char const* kTableRow = "{:<8} {:>10} {:>10} {:>10} {:>10} {:>8} {:>9} {:>8}";
constexpr char const* kUnitRow = "{:<8} {:>5} {:>8} {:>5} {:>8} {:>8}  {:>9} {:>9}  {:>9} {:>9}  {:>9} {:>9}";

std::string numberOf(Json const& object, char const* member) {
  return object.contains(member) && !object[member].is_null() ? object[member].dump() : "-";
}

std::string shareOf(Json const& part, Json const& whole) {
  return fmt::format("{:.0f} %", 100 * part.get<double>() / whole.get<double>());
}

std::string tableLine(Json const& table) {
  std::string const age =
      table.contains("behindMs") ? fmt::format("{:.1f} s", table["behindMs"].get<double>() / 1000) : "-";
  return fmt::format(fmt::runtime(kTableRow), table["table"].get<std::string>(), numberOf(table, "written"),
                     fmt::format("{:.0f}", table["writtenPerSecond"].get<double>()),
                     fmt::format("{:.0f}", table["reportedPerSecond"].get<double>()),
                     numberOf(table, "behind"), age, shareOf(table["logRecords"], table["logLimit"]),
                     numberOf(table, "failures"));
}

std::string unitLine(Json const& unit) {
  std::vector<std::string> times;
  for (char const* stage : {"behindOthers", "atHead", "toHardware"}) {
    Json const none = Json::object();
    Json const& figures = unit.contains(stage) ? unit[stage] : none;
    for (char const* percentile : {"p50Us", "p99Us"}) times.push_back(timeText(figures, percentile));
  }
  return fmt::format(fmt::runtime(kUnitRow), unit["table"].get<std::string>(), unit["unit"].dump(),
                     numberOf(unit, "entries"), shareOf(unit["entries"], unit["entryLimit"]),
                     numberOf(unit, "queued"), numberOf(unit, "inLog"), times[0], times[1], times[2],
                     times[3], times[4], times[5]);
}

// What waits first, then what is large.
std::vector<Json const*> unitsByWork(Json const& units) {
  std::vector<Json const*> sorted;
  for (Json const& unit : units) sorted.push_back(&unit);
  auto const work = [](Json const* unit) {
    return std::pair(unit->value("queued", 0ULL) + unit->value("inLog", 0ULL), unit->value("entries", 0ULL));
  };
  std::ranges::stable_sort(sorted, [&](Json const* a, Json const* b) { return work(a) > work(b); });
  return sorted;
}

void addCauses(std::vector<std::string>& lines, Json const& figures) {
  if (!figures.contains("causes")) return;
  lines.push_back("");
  lines.push_back(fmt::format("{} operations wait", figures["queued"].dump()));
  std::size_t const shown = std::min(figures["causes"].size(), kMostCauses);
  for (std::size_t i = 0; i < shown; ++i) lines.push_back(causeLine(figures["causes"][i]));
  if (figures["causes"].size() > shown)
    lines.push_back(
        fmt::format("          and {} causes more; see inlif why", figures["causes"].size() - shown));
}

}  // namespace

std::vector<std::string> topLines(std::string const& store, Json const& figures, ScreenSize const& size) {
  std::vector<std::string> lines{fmt::format("{}  {}", store, figures["time"].get<std::string>()),
                                 processText("agent", figures["agent"]),
                                 processText("writer", figures["writer"])};
  if (figures.contains("answers") && !figures["answers"].get<bool>()) lines[1] += "; it does not answer";
  lines.push_back("");
  lines.push_back(fmt::format(fmt::runtime(kTableRow), "table", "versions", "written/s", "reported/s",
                              "behind", "since", "log full", "failed"));
  for (Json const& table : figures["tables"]) lines.push_back(tableLine(table));
  addCauses(lines, figures);
  std::vector<Json const*> const units = unitsByWork(figures["units"]);
  if (!units.empty()) {
    lines.push_back("");
    lines.push_back(fmt::format(fmt::runtime(kUnitRow), "", "", "", "", "", "", "behind", "others", "at the",
                                "head", "to hard", "ware"));
    lines.push_back(fmt::format(fmt::runtime(kUnitRow), "table", "unit", "entries", "full", "queued",
                                "in log", "median", "99 %", "median", "99 %", "median", "99 %"));
    for (Json const* unit : units) lines.push_back(unitLine(*unit));
  }
  if (lines.size() > size.rows) lines.resize(size.rows);
  for (std::string& line : lines) {
    if (line.size() > size.columns) line.resize(size.columns);
  }
  return lines;
}

}  // namespace Inlif
