#include "tools/show/Dumps.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/config/InterfaceName.h"
#include "tools/json/EntryJson.h"
#include "tools/show/EntryText.h"
#include "tools/show/RecordLine.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

Columns const& entryColumns() {
  static Columns const columns{
      {"table", 7}, {"unit", 4, kRight}, {"key", 10, kRight}, {"version", 9, kRight}, {"what"}};
  return columns;
}

}  // namespace

Dump::Dump(Selection const& selection, std::string_view what)
    : selection_(selection),
      output_(selection.verbose),
      printTable_(what == "config" ? &Dump::config
                  : what == "log"  ? &Dump::log
                                   : &Dump::image) {
  if (!selection.json) output_.print(what == "log" ? recordHeading() : headingOf(entryColumns()));
}

void Dump::take(Json const& entry, std::string what, Sorted& sorted) const {
  if (selection_.json) return fmt::print("{}\n", jsonText(entry));
  sorted[{entry["unit"].get<Asic::UnitId>(), entry["key"].get<std::uint32_t>()}] = rowOf(
      entryColumns(), {entry["table"].get<std::string>(), jsonText(entry["unit"]), jsonText(entry["key"]),
                       jsonText(entry["version"]), withInterface(entry, std::move(what))});
}

bool Dump::print() {
  bool whole = true;
  for (std::size_t table : selection_.tables) {
    std::uint64_t highest = printed_[table];
    whole &= (this->*printTable_)(tables()[table], printed_[table], highest);
    printed_[table] = highest;
  }
  return whole;
}

bool Dump::config(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const {
  Sorted sorted;
  bool const whole =
      selection_.walkConfigs(table, [&](Asic::UnitId unit, InLifModelConfigShoalEntry const& record) {
        std::uint64_t const version = record.logVersion.value();
        highest = std::max(highest, version);
        if ((above > 0 && version <= above) || !selection_.takes(unit, record.key().value())) return;
        Json out = {{"table", table.name},
                    {"unit", unit},
                    {"key", record.key().value()},
                    {"version", version},
                    {"state", record.isDeleted ? "removed" : "live"}};
        if (std::string name = interfaceName(record.rsrcKeys); !name.empty())
          out["interface"] = std::move(name);
        addEntry(out, record.entry());
        take(out, (record.isDeleted ? "removed; " : "") + keysText(out, selection_.verbose), sorted);
      });
  for (auto const& [place, line] : sorted) output_.print(line);
  return whole;
}

bool Dump::log(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const {
  Shoal::SteadyReader<InLifModelLogShoalEntry> records(table.logPath);
  // The order of the store is not that of the versions.
  std::vector<std::uint64_t> versions;
  bool const whole = walkWell(records, [&](InLifModelLogShoalEntry const& record) {
    if (record.logVersion.value() > above && selection_.takes(record.unitId, record.logEntry.key.value()))
      versions.push_back(record.logVersion.value());
  });
  std::ranges::sort(versions);
  Shoal::SteadyReader<Asic::NeededRow> needed(neededPath());
  for (std::uint64_t version : versions) {
    InLifModelLogShoalEntry record;
    // One that has been cleaned away meanwhile is no more to be shown.
    if (records.lookup(Asic::LogVersion(version), record) != Shoal::Read::found) continue;
    Json out = {
        {"table", table.name}, {"version", version}, {"unit", record.unitId}, {"does", doingOf(record)}};
    if (!record.isTableDeleted()) out["key"] = record.logEntry.key.value();
    interfaces_.addTo(out);
    if (Json needs = needsOf(needed, table, version); !needs.empty()) out["needs"] = std::move(needs);
    if (out["does"] == "write") addLogEntry(out, record.logEntry);
    if (selection_.json)
      fmt::print("{}\n", jsonText(out));
    else
      output_.print(recordLine(out, selection_.verbose));
    highest = std::max(highest, version);
  }
  return whole;
}

bool Dump::image(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const {
  Shoal::SteadyReader<InLifImageEntry> records(table.imagePath);
  Sorted sorted;
  bool const whole = walkWell(records, [&](InLifImageEntry const& record) {
    std::uint64_t const version = record.logVersion.value();
    highest = std::max(highest, version);
    if ((above > 0 && version <= above) || !selection_.takes(record.key.unitId, record.key.entryKey.value()))
      return;
    Json out = {{"table", table.name},
                {"unit", record.key.unitId},
                {"key", record.key.entryKey.value()},
                {"version", version}};
    interfaces_.addTo(out);
    addLogEntry(out, record.entry);
    take(out, contentText(out, selection_.verbose), sorted);
  });
  for (auto const& [place, line] : sorted) output_.print(line);
  return whole;
}

}  // namespace Inlif
