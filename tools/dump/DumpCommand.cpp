#include "tools/dump/DumpCommand.h"

#include <fmt/format.h>

#include <map>
#include <string>

#include "tools/json/EntryJson.h"
#include "tools/show/Selection.h"
#include "tools/support/Progress.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelConfigShoalEntry;

std::uint64_t recordsOf(Selection const& selection) {
  std::uint64_t count = 0;
  for (std::size_t const table : selection.tables) {
    for (Asic::UnitId const unit : tables()[table].units()) {
      if (selection.unit && *selection.unit != unit) continue;
      Shoal::SteadyReader<InLifModelConfigShoalEntry> config(tables()[table].configPath(unit));
      if (config.ready()) count += config.reader().size();
    }
  }
  return count;
}

// A unit at a time, since its collection is in no order that would hold from store to store.
bool dumpUnit(TableInfo const& table, Asic::UnitId unit, std::uint64_t& looked, Progress& progress) {
  Json const place = {{"table", table.name}, {"unit", unit}};
  std::map<std::uint32_t, std::string> lines;
  Shoal::SteadyReader<InLifModelConfigShoalEntry> config(table.configPath(unit));
  bool const whole = walkWell(config, [&](InLifModelConfigShoalEntry const& record) {
    progress.at(++looked);
    if (record.isDeleted) return;
    Json line = {{"op", "write"}};
    line.update(place);
    line["key"] = record.key().value();
    addWritten(line, record.entry());
    lines[record.key().value()] = jsonText(line);
  });
  Json made = {{"op", "unit"}};
  made.update(place);
  fmt::print("{}\n", jsonText(made));
  for (auto const& [key, line] : lines) fmt::print("{}\n", line);
  return whole;
}

}  // namespace

Outcome runDump(ShowOptions const& options) {
  Selection selection;
  Pivot::Status status = Selection::from(options, selection);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, false);
  if (status.isOk()) status = selection.unitIsThere();
  if (!status.isOk()) return Outcome::refused(std::move(status));
  Progress progress("dump", "records", recordsOf(selection));
  bool whole = true;
  std::uint64_t looked = 0;
  for (std::size_t const table : selection.tables) {
    for (Asic::UnitId const unit : tables()[table].units()) {
      if (!selection.unit || *selection.unit == unit)
        whole &= dumpUnit(tables()[table], unit, looked, progress);
    }
  }
  return Outcome::done(whole ? kWell : kFound);
}

}  // namespace Inlif
