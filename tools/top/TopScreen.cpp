#include "tools/top/TopScreen.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "tools/show/LatencyView.h"
#include "tools/show/WhyCommand.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

constexpr std::size_t kMostCauses = 5;
constexpr char const* kStageNames[] = {"behindOthers", "atHead", "toHardware"};

std::string numberOf(Json const& object, char const* member) {
  return object.contains(member) && !object[member].is_null() ? jsonText(object[member]) : "-";
}

std::string shareOf(Json const& part, Json const& whole) {
  return fmt::format("{:.0f} %", 100 * part.get<double>() / whole.get<double>());
}

std::string rateIn(Json const& table, char const* member) {
  return fmt::format("{:.0f}", table[member].get<double>());
}

std::vector<Line> tableLines(Json const& tables) {
  // A narrow terminal cuts what decides least.
  TextTable out({{"table", 8},
                 {"failed", 6, kRight},
                 {"behind", 8, kRight},
                 {"since", 8, kRight},
                 {"log full", 8, kRight},
                 {"written/s", 9, kRight},
                 {"reported/s", 10, kRight},
                 {"written", 10, kRight}});
  for (Json const& table : tables) {
    auto const age = [&] { return std::chrono::milliseconds(table["behindMs"].get<std::uint64_t>()); };
    out.add({table["table"].get<std::string>(), numberOf(table, "failures"), numberOf(table, "behind"),
             table.contains("behindMs") ? durationText(age()) : "-",
             shareOf(table["logRecords"], table["logLimit"]), rateIn(table, "writtenPerSecond"),
             rateIn(table, "reportedPerSecond"), numberOf(table, "written")},
            table["failures"] != 0 ? Tone::fault : Tone::plain);
  }
  return out.lines();
}

std::vector<std::string> unitCells(Json const& unit) {
  std::vector<std::string> cells{
      unit["table"].get<std::string>(), jsonText(unit["unit"]),
      numberOf(unit, "entries"),        shareOf(unit["entries"], unit["entryLimit"]),
      numberOf(unit, "queued"),         numberOf(unit, "inLog")};
  Json const none = Json::object();
  for (char const* percentile : {"p50Us", "p99Us"})
    for (char const* stage : kStageNames)
      cells.push_back(timeText(unit.contains(stage) ? unit[stage] : none, percentile));
  return cells;
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

// Two lines of headings: the medians of the three stages, and what one operation in a hundred takes longer than.
std::vector<Line> unitLines(Json const& units) {
  TextTable out({{"", 8},
                 {"", 5, kRight},
                 {"", 7, kRight},
                 {"", 5, kRight},
                 {"", 6, kRight},
                 {"", 6, kRight},
                 {"median:", 8, kRight},
                 {"", 8, kRight},
                 {"", 8, kRight},
                 {"99 %:", 8, kRight},
                 {"", 8, kRight},
                 {"", 8, kRight}});
  out.add({"table", "unit", "entries", "full", "queued", "in log", "others", "head", "hardware", "others",
           "head", "hardware"},
          Tone::heading);
  for (Json const* unit : unitsByWork(units)) out.add(unitCells(*unit));
  return out.lines();
}

void append(std::vector<Line>& lines, std::vector<Line> more) {
  lines.push_back({});
  std::ranges::move(more, std::back_inserter(lines));
}

}  // namespace

std::vector<Line> topLines(std::string const& store, Json const& figures, std::size_t rows) {
  std::vector<Line> lines{{fmt::format("{}  {}", store, figures["time"].get<std::string>())},
                          processLine("agent", figures["agent"]),
                          processLine("writer", figures["writer"])};
  if (figures.contains("answers") && !figures["answers"].get<bool>()) {
    lines[1].text += "; it does not answer";
    lines[1].tone = Tone::fault;
  }
  append(lines, tableLines(figures["tables"]));
  if (figures.contains("causes")) {
    append(lines, {{fmt::format("{} operations wait", jsonText(figures["queued"]))}});
    std::ranges::move(causeLines(figures["causes"], kMostCauses), std::back_inserter(lines));
  }
  if (!figures["units"].empty()) append(lines, unitLines(figures["units"]));
  if (lines.size() > rows) lines.resize(rows);
  return lines;
}

}  // namespace Inlif
