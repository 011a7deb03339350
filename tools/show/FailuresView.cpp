#include "tools/show/FailuresView.h"

#include <fmt/format.h>

#include <map>

#include "tools/json/FailureJson.h"
#include "tools/show/Interfaces.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

constexpr char const* kRow = "{:<8} {:>5} {:>10} {:>12} {:<7} {:<12} {:>5}  {:<24}  {}\n";

void printRow(Json const& failure) {
  Json const key = failure.value("key", Json("all"));
  std::string text = failure["text"].get<std::string>();
  if (failure.contains("neededEntry")) {
    Json const& need = failure["neededEntry"];
    text = fmt::format("stands without {} unit {} key {}", need["table"].get<std::string>(),
                       need["unit"].dump(), need["key"].dump());
  }
  if (failure.contains("interface"))
    text = fmt::format("{}: {}", failure["interface"].get<std::string>(), text);
  fmt::print(kRow, failure["table"].get<std::string>(), failure["unit"].dump(),
             key.is_string() ? key.get<std::string>() : key.dump(), failure["version"].dump(),
             failure["does"].get<std::string>(), failure["class"].get<std::string>(), failure["tries"].dump(),
             failure["since"].get<std::string>(), text);
}

// By table, unit and key.
using Found = std::map<std::pair<std::size_t, InLifFailureKey>, Json>;

bool find(Selection const& selection, Found& found) {
  bool whole = true;
  Interfaces interfaces;
  for (std::size_t const table : selection.tables) {
    TableInfo const& info = tables()[table];
    Shoal::SteadyReader<InLifFailureRow> failures(info.failuresPath);
    whole &= walkWell(failures, [&](InLifFailureRow const& row) {
      bool const isMeant = row.key.wholeUnit != 0 ? !selection.unit || *selection.unit == row.key.unitId
                                                  : selection.takes(row.key.unitId, row.key.entryKey.value());
      if (!isMeant) return;
      Json failure = failureJson(info.name, row);
      interfaces.addTo(failure);
      found[{table, row.key}] = std::move(failure);
    });
  }
  return whole;
}

}  // namespace

FailureCount failureCount(TableInfo const& table) {
  FailureCount count;
  Shoal::SteadyReader<InLifFailureRow> failures(table.failuresPath);
  if (!failures.ready()) return count;
  count.rows = failures.reader().size();
  try {
    count.unlisted = failures.reader().watermark();
  } catch (Pivot::CorruptionDetectedException const&) {
    // Whoever needs it exactly asks the check.
  }
  return count;
}

bool showFailures(Selection const& selection) {
  std::uint64_t unlisted = 0;
  for (std::size_t const table : selection.tables) unlisted += failureCount(tables()[table]).unlisted;
  Found found;
  bool const whole = find(selection, found);
  if (!selection.json && found.empty()) fmt::print("nothing has failed in the hardware\n");
  if (!selection.json && !found.empty())
    fmt::print(kRow, "table", "unit", "key", "version", "does", "class", "tries", "since", "why");
  for (auto const& [place, failure] : found) {
    if (selection.json)
      fmt::print("{}\n", failure.dump());
    else
      printRow(failure);
  }
  if (unlisted != 0 && !selection.json)
    fmt::print(
        "{} refusals more found no room in this list; a restart of the writer asks the hardware again\n",
        unlisted);
  return whole;
}

void tellFailures(Selection const& selection, bool countAlone) {
  Found found;
  if (!countAlone) find(selection, found);
  for (auto const& [place, failure] : found)
    fmt::print("{}\n", selection.json ? Json{{"failure", failure}}.dump() : failureText(failure));
  for (std::size_t table = 0; countAlone && table < kTables; ++table) {
    FailureCount const count = failureCount(tables()[table]);
    if (count.rows + count.unlisted == 0) continue;
    Json const json = {{"table", tables()[table].name}, {"failures", count.rows + count.unlisted}};
    if (selection.json)
      fmt::print("{}\n", json.dump());
    else
      fmt::print("{}: {} failed in the hardware; see inlif show failures\n", tables()[table].name,
                 count.rows + count.unlisted);
  }
}

}  // namespace Inlif
