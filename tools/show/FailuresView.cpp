#include "tools/show/FailuresView.h"

#include <fmt/format.h>

#include <map>

#include "tools/json/FailureJson.h"
#include "tools/show/EntryText.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

std::vector<std::string> cellsOf(Json const& failure) {
  std::string text = failure["text"].get<std::string>();
  if (failure.contains("neededEntry")) {
    Json const& need = failure["neededEntry"];
    text = fmt::format("stands without {} unit {} key {}", need["table"].get<std::string>(),
                       jsonText(need["unit"]), jsonText(need["key"]));
  }
  return {failure["table"].get<std::string>(),
          jsonText(failure["unit"]),
          failure.contains("key") ? jsonText(failure["key"]) : "all",
          failure["class"].get<std::string>(),
          withInterface(failure, std::move(text)),
          failure["does"].get<std::string>(),
          jsonText(failure["tries"]),
          failure["since"].get<std::string>(),
          jsonText(failure["version"])};
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
  if (selection.json) {
    for (auto const& [place, failure] : found) fmt::print("{}\n", jsonText(failure));
    return whole;
  }
  TextTable out({{"table"},
                 {"unit", 0, kRight},
                 {"key", 0, kRight},
                 {"class"},
                 {"why"},
                 {"does"},
                 {"tries", 0, kRight},
                 {"since"},
                 {"version", 0, kRight}});
  for (auto const& [place, failure] : found) out.add(cellsOf(failure), Tone::fault);
  Output const output(selection.verbose);
  output.print(out.linesOr("nothing has failed in the hardware"));
  if (unlisted != 0)
    output.print({fmt::format(
        "{} refusals more found no room in this list; a restart of the writer asks the hardware again",
        unlisted)});
  return whole;
}

void tellFailures(Selection const& selection, bool countAlone) {
  Output const output(selection.verbose);
  auto const tell = [&](Json const& json, std::string text) {
    if (selection.json)
      fmt::print("{}\n", jsonText(json));
    else
      output.print({std::move(text), Tone::fault});
  };
  Found found;
  if (!countAlone) find(selection, found);
  for (auto const& [place, failure] : found) tell({{"failure", failure}}, failureText(failure));
  for (std::size_t table = 0; countAlone && table < kTables; ++table) {
    FailureCount const count = failureCount(tables()[table]);
    std::uint64_t const failed = count.rows + count.unlisted;
    std::string const& name = tables()[table].name;
    if (failed != 0)
      tell({{"table", name}, {"failures", failed}},
           fmt::format("{}: {} failed in the hardware; see inlif show failures", name, failed));
  }
}

}  // namespace Inlif
