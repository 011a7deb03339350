#include "tools/show/Dumps.h"

#include <fmt/format.h>

#include <algorithm>

#include "Asic/GroupShoal.h"
#include "tools/json/EntryJson.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

bool Dump::print() {
  bool whole = true;
  for (std::size_t table : selection_.tables) {
    std::uint64_t highest = printed_[table];
    whole &= printTable(tables()[table], printed_[table], highest);
    printed_[table] = highest;
  }
  return whole;
}

bool ConfigDump::printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) {
  bool whole = true;
  for (Asic::UnitId unit : table.units()) {
    if (selection_.unit && *selection_.unit != unit) continue;
    Shoal::SteadyReader<InLifModelConfigShoalEntry> config(table.configPath(unit));
    if (!config.ready()) {
      whole &= endedWell(config.problem().empty() ? Shoal::Read::absent : Shoal::Read::damaged, config.path(),
                         config.problem());
      continue;
    }
    Shoal::Read const end = walk(config, [&](InLifModelConfigShoalEntry const& record) {
      std::uint64_t const version = record.logVersion.value();
      highest = std::max(highest, version);
      if ((above > 0 && version <= above) || !selection_.takes(unit, record.key().value())) return true;
      Json out = {{"table", table.name},
                  {"unit", unit},
                  {"key", record.key().value()},
                  {"version", version},
                  {"state", record.isDeleted ? "removed" : "live"}};
      InLifModelEntry entry;
      entry.logEntry = record.tableEntry;
      entry.rsrcKeys = record.rsrcKeys;
      addEntry(out, entry);
      selection_.print(out);
      return true;
    });
    whole &= endedWell(end, config.path(), config.problem());
  }
  return whole;
}

bool LogDump::printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) {
  Shoal::SteadyReader<InLifModelLogShoalEntry> log(table.logPath);
  if (!log.ready())
    return endedWell(log.problem().empty() ? Shoal::Read::absent : Shoal::Read::damaged, log.path(),
                     log.problem());
  // The order of the store is not that of the versions.
  std::vector<std::uint64_t> versions;
  Shoal::Read const end = walk(log, [&](InLifModelLogShoalEntry const& record) {
    if (record.logVersion.value() > above && selection_.takes(record.unitId, record.logEntry.key.value()))
      versions.push_back(record.logVersion.value());
    return true;
  });
  std::ranges::sort(versions);
  Shoal::SteadyReader<Asic::NeededRow> needed(neededPath());
  bool const hasNeeds = needed.ready();
  for (std::uint64_t version : versions) {
    InLifModelLogShoalEntry record;
    // One that has been cleaned away meanwhile is no more to be shown.
    if (log.lookup(Asic::LogVersion(version), record) != Shoal::Read::found) continue;
    Json out = {{"table", table.name}, {"version", version}, {"unit", record.unitId}};
    if (record.isTableDeleted()) {
      out["does"] = "removeAll";
    } else {
      out["does"] = record.isEntryDeleted() ? "remove" : "write";
      out["key"] = record.logEntry.key.value();
    }
    Asic::NeededRow row;
    if (hasNeeds && needed.lookup({table.id, Asic::LogVersion(version)}, row) == Shoal::Read::found) {
      Json needs = Json::object();
      for (Asic::TableVersion const& need : row.needs) {
        std::size_t const other = tableIndex(need.tableId());
        if (need.logVersion().value() && other < kTables)
          needs[tables()[other].name] = need.logVersion().value();
      }
      out["needs"] = std::move(needs);
    }
    if (out["does"] == "write") addLogEntry(out, record.logEntry);
    selection_.print(out);
    highest = std::max(highest, version);
  }
  return endedWell(end, log.path(), log.problem());
}

bool ImageDump::printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) {
  Shoal::SteadyReader<InLifImageEntry> image(table.imagePath);
  if (!image.ready())
    return endedWell(image.problem().empty() ? Shoal::Read::absent : Shoal::Read::damaged, image.path(),
                     image.problem());
  Shoal::Read const end = walk(image, [&](InLifImageEntry const& record) {
    std::uint64_t const version = record.logVersion.value();
    highest = std::max(highest, version);
    if ((above > 0 && version <= above) || !selection_.takes(record.key.unitId, record.key.entryKey.value()))
      return true;
    Json out = {{"table", table.name},
                {"unit", record.key.unitId},
                {"key", record.key.entryKey.value()},
                {"version", version}};
    addLogEntry(out, record.entry);
    selection_.print(out);
    return true;
  });
  return endedWell(end, image.path(), image.problem());
}

}  // namespace Inlif
