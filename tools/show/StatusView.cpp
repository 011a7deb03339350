#include "tools/show/StatusView.h"

#include <fmt/format.h>

#include <optional>

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Exceptions.h"
#include "tools/support/SteadyReader.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;
using Version = std::optional<std::uint64_t>;

Json versionJson(Version const& version) {
  return version ? Json(*version) : Json(nullptr);
}

template <class Record>
Version scratchpadOf(SteadyReader<Record>& collection) {
  if (!collection.ready()) return std::nullopt;
  try {
    return collection.reader().scratchpad();
  } catch (Pivot::CorruptionDetectedException const&) {
    return std::nullopt;
  }
}

Version appliedOf(std::size_t table) {
  SteadyReader<InLifImageEntry> image(tables()[table].imagePath);
  return scratchpadOf(image);
}

Version announcedOf(TableInfo const& table) {
  SteadyReader<Asic::AnnouncedRow> rows(announcedPath());
  Asic::AnnouncedRow row;
  if (!rows.ready() || rows.lookup(table.id, row) != Read::found) return std::nullopt;
  return row.version.value();
}

Version reportedOf(TableInfo const& table) {
  SteadyReader<Asic::TableVersion> rows(tableVersionPath());
  Asic::TableVersion row;
  if (!rows.ready() || rows.lookup(table.id, row) != Read::found) return std::nullopt;
  return row.logVersion().value();
}

// The next record that the writer has to take, if it cannot take it now.
Json heldBack(TableInfo const& table, std::uint64_t applied, std::uint64_t announced,
              SteadyReader<InLifModelLogShoalEntry>& log) {
  InLifModelLogShoalEntry record;
  std::uint64_t version = applied + 1;
  while (version <= announced && log.lookup(Asic::LogVersion(version), record) != Read::found) ++version;
  if (version > announced) return nullptr;
  SteadyReader<Asic::NeededRow> needed(neededPath());
  Asic::NeededRow row;
  if (!needed.ready() || needed.lookup({table.id, Asic::LogVersion(version)}, row) != Read::found)
    return nullptr;
  for (Asic::TableVersion const& need : row.needs) {
    std::size_t const other = tableIndex(need.tableId());
    if (need.logVersion().value() == 0 || other == kTables) continue;
    std::uint64_t const reached = appliedOf(other).value_or(0);
    if (reached >= need.logVersion().value()) continue;
    return {{"version", version},
            {"unit", record.unitId},
            {"key", record.logEntry.key.value()},
            {"waitsFor", tables()[other].name},
            {"needs", need.logVersion().value()},
            {"applied", reached}};
  }
  return nullptr;
}

Json unitsJson(TableInfo const& table, Selection const& selection) {
  Json units = Json::array();
  for (Asic::UnitId unit : table.units()) {
    if (selection.unit && *selection.unit != unit) continue;
    SteadyReader<InLifModelConfigShoalEntry> config(table.configPath(unit));
    Json one = {{"unit", unit}};
    if (config.ready()) {
      std::uint64_t live = 0;
      std::uint64_t removed = 0;
      Read const end = walk(config, [&](InLifModelConfigShoalEntry const& record) {
        ++(record.isDeleted ? removed : live);
        return true;
      });
      one["live"] = live;
      one["removed"] = removed;
      if (end == Read::damaged) one["damaged"] = config.problem();
    } else {
      one["unreadable"] = config.problem();
    }
    units.push_back(std::move(one));
  }
  return units;
}

}  // namespace

std::vector<Json> statusView(Selection const& selection) {
  std::vector<Json> view;
  for (std::size_t index : selection.tables) {
    TableInfo const& table = tables()[index];
    // From the writer's end to the agent's, so that no number is shown to run ahead of the one that it
    // follows.
    Version const reported = reportedOf(table);
    SteadyReader<InLifImageEntry> image(table.imagePath);
    Version const applied = scratchpadOf(image);
    Version const announced = announcedOf(table);
    SteadyReader<InLifModelLogShoalEntry> log(table.logPath);
    Version const written = scratchpadOf(log);
    Json one = {{"table", table.name},
                {"written", versionJson(written)},
                {"announced", versionJson(announced)},
                {"applied", versionJson(applied)},
                {"reported", versionJson(reported)}};
    if (written) one["logRecords"] = log.reader().size();
    if (applied) one["imageEntries"] = image.reader().size();
    for (std::string const& problem : {log.problem(), image.problem()}) {
      if (!problem.empty()) one["problem"] = problem;
    }
    one["units"] = unitsJson(table, selection);
    if (written && announced) {
      Json held = heldBack(table, applied.value_or(0), *announced, log);
      if (!held.is_null()) one["heldBack"] = std::move(held);
    }
    view.push_back(std::move(one));
  }
  return view;
}

}  // namespace Inlif
