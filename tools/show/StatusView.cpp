#include "tools/show/StatusView.h"

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/FailuresView.h"
#include "tools/show/HeldBack.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

Json versionJson(Version const& version) {
  return version ? Json(*version) : Json(nullptr);
}

Json unitsJson(TableInfo const& table, Selection const& selection) {
  Json units = Json::array();
  for (Asic::UnitId unit : table.units()) {
    if (selection.unit && *selection.unit != unit) continue;
    Json one = {{"unit", unit}};
    addEntryCounts(one, table.configPath(unit));
    units.push_back(std::move(one));
  }
  return units;
}

}  // namespace

void addEntryCounts(Json& unit, std::string const& configPath) {
  Shoal::SteadyReader<InLifModelConfigShoalEntry> config(configPath);
  if (!config.ready()) {
    unit["problem"] = config.problem();
    return;
  }
  std::uint64_t entries = 0;
  std::uint64_t inDeletion = 0;
  Shoal::Read const end = walk(config, [&](InLifModelConfigShoalEntry const& record) {
    ++(record.isDeleted ? inDeletion : entries);
    return true;
  });
  unit["entries"] = entries;
  unit["inDeletion"] = inDeletion;
  if (end == Shoal::Read::damaged) unit["problem"] = config.problem();
}

std::vector<Json> statusView(Selection const& selection) {
  std::vector<Json> view;
  for (std::size_t index : selection.tables) {
    TableInfo const& table = tables()[index];
    // From the writer's end to the agent's, so that no number is shown to run ahead of the one that it
    // follows.
    Version const reported = reportedVersion(table);
    Shoal::SteadyReader<InLifImageEntry> image(table.imagePath);
    Version const applied = scratchpadOf(image);
    Version const announced = announcedVersion(table);
    Shoal::SteadyReader<InLifModelLogShoalEntry> log(table.logPath);
    Version const written = scratchpadOf(log);
    Json one = {{"table", table.name},
                {"written", versionJson(written)},
                {"announced", versionJson(announced)},
                {"applied", versionJson(applied)},
                {"reported", versionJson(reported)}};
    if (std::uint64_t const behind = behindOf(announced, reported); behind != 0) one["behind"] = behind;
    if (written) one["logRecords"] = log.reader().size();
    if (applied) one["imageEntries"] = image.reader().size();
    FailureCount const failures = failureCount(table);
    if (failures.rows != 0) one["failures"] = failures.rows;
    if (failures.unlisted != 0) one["unlistedFailures"] = failures.unlisted;
    for (std::string const& problem : {log.problem(), image.problem()}) {
      if (!problem.empty()) one["problem"] = problem;
    }
    one["units"] = unitsJson(table, selection);
    if (written && announced) {
      Json held = heldBack(table, log);
      if (!held.is_null()) one["heldBack"] = std::move(held);
    }
    view.push_back(std::move(one));
  }
  return view;
}

}  // namespace Inlif
