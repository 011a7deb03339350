#include "tools/show/StatusText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

#include "tools/show/HeldBack.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

constexpr char const* kStations[] = {"written",  "announced",  "applied",
                                     "reported", "logRecords", "imageEntries"};

std::string numberIn(Json const& object, char const* member) {
  return object.contains(member) && !object[member].is_null() ? jsonText(object[member]) : "-";
}

bool isUsed(Json const& table) {
  auto const isCounted = [&](char const* member) {
    return table.value(member, Json(0)).is_number() && table.value(member, Json(0)) != 0;
  };
  return !table["units"].empty() || std::ranges::any_of(kStations, isCounted);
}

std::vector<Line> tableLines(std::vector<Json> const& view, bool all) {
  TextTable out({{"table"},
                 {"written", 0, kRight},
                 {"announced", 0, kRight},
                 {"applied", 0, kRight},
                 {"reported", 0, kRight},
                 {"log", 0, kRight},
                 {"image", 0, kRight}});
  for (Json const& table : view) {
    if (!all && !isUsed(table)) continue;
    std::vector<std::string> cells{table["table"].get<std::string>()};
    for (char const* member : kStations) cells.push_back(numberIn(table, member));
    out.add(std::move(cells));
  }
  return out.linesOr("nothing has been written yet");
}

// How far the clients of a unit have come with what stood in it.
std::string markedText(Json const& unit) {
  if (!unit.contains("marked")) return "-";
  std::string const marked = jsonText(unit["marked"]);
  std::uint64_t const restored = unit["restored"].get<std::uint64_t>();
  if (!unit["marking"].get<bool>()) return marked;
  if (restored == 0) return marked + " so far";
  return fmt::format("{} so far ({} %)", marked,
                     100 * std::min(restored, unit["marked"].get<std::uint64_t>()) / restored);
}

std::vector<Line> unitLines(std::vector<Json> const& view, bool all) {
  TextTable out({{"table"},
                 {"unit", 0, kRight},
                 {"entries", 0, kRight},
                 {"in deletion", 0, kRight, true},
                 {"restored", 0, kRight, true},
                 {"marked", 0, kRight, true},
                 {"suppressed", 0, kRight, true},
                 {"swept", 0, kRight, true}});
  for (Json const& table : view) {
    for (Json const& unit : table["units"])
      out.add({table["table"].get<std::string>(), jsonText(unit["unit"]), numberIn(unit, "entries"),
               numberIn(unit, "inDeletion"), numberIn(unit, "restored"), markedText(unit),
               numberIn(unit, "suppressed"), numberIn(unit, "swept")});
  }
  return out.isEmpty() ? std::vector<Line>{} : out.lines(all);
}

Line clientLine(Json const& client) {
  auto const says = [&](char const* member, char const* yes, char const* no) {
    return client[member].get<bool>() ? yes : no;
  };
  return {fmt::format("client {}: {}, {}, {}", client["name"].get<std::string>(),
                      says("registered", "registered", "not here yet"),
                      says("unitsMade", "units made", "units not made yet"),
                      says("replayed", "has written again", "has not written all again"))};
}

// What is worth knowing of a table beside its figures.
void addRemarks(Json const& table, std::vector<Line>& lines) {
  std::string const name = table["table"].get<std::string>();
  for (Json const& unit : table["units"])
    if (unit.contains("problem"))
      lines.push_back(
          {fmt::format("{} unit {} cannot be read{}: {}", name, jsonText(unit["unit"]),
                       unit.contains("entries") ? " wholly" : "", unit["problem"].get<std::string>())});
  if (table.contains("unserved") && !table["unserved"].empty()) {
    std::vector<std::string> units;
    for (Json const& place : table["unserved"]) units.push_back(jsonText(place["unit"]));
    lines.push_back({fmt::format("{} has no table yet for units {}", name, fmt::join(units, ", "))});
  }
  std::uint64_t const failed = table.value("failures", 0ULL) + table.value("unlistedFailures", 0ULL);
  if (failed != 0)
    lines.push_back(
        {fmt::format("{}: {} failed in the hardware; see inlif show failures", name, failed), Tone::fault});
  if (table.contains("behind")) lines.push_back({behindText(table)});
  if (table.contains("problem"))
    lines.push_back({fmt::format("{}: {}", name, table["problem"].get<std::string>())});
  if (table.contains("heldBack")) lines.push_back({heldBackText(name, table["heldBack"])});
}

}  // namespace

std::vector<Line> statusLines(std::vector<Json> const& view, Json const& processes, bool all) {
  std::vector<Line> lines;
  for (auto const& [name, process] : processes.items()) lines.push_back(processLine(name, process));
  std::ranges::move(tableLines(view, all), std::back_inserter(lines));
  std::vector<Line> units = unitLines(view, all);
  if (!units.empty()) lines.push_back({});
  std::ranges::move(units, std::back_inserter(lines));
  if (!view.empty() && view.front().contains("clients"))
    for (Json const& client : view.front()["clients"]) lines.push_back(clientLine(client));
  for (Json const& table : view) addRemarks(table, lines);
  return lines;
}

}  // namespace Inlif
