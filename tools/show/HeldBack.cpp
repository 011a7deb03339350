#include "tools/show/HeldBack.h"

#include <fmt/format.h>

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

Version announcedVersion(TableInfo const& table) {
  Shoal::SteadyReader<Asic::AnnouncedRow> rows(announcedPath());
  Asic::AnnouncedRow row;
  if (!rows.ready() || rows.lookup(table.id, row) != Shoal::Read::found) return std::nullopt;
  return row.version.value();
}

Version appliedVersion(TableInfo const& table) {
  Shoal::SteadyReader<InLifImageEntry> image(table.imagePath);
  return scratchpadOf(image);
}

Version reportedVersion(TableInfo const& table) {
  Shoal::SteadyReader<Asic::TableVersion> rows(tableVersionPath());
  Asic::TableVersion row;
  if (!rows.ready() || rows.lookup(table.id, row) != Shoal::Read::found) return std::nullopt;
  return row.logVersion().value();
}

std::string behindText(Json const& table) {
  std::string text = fmt::format("{}: {} versions are announced and not reported",
                                 table["table"].get<std::string>(), jsonText(table["behind"]));
  if (table.contains("behindMs"))
    text += fmt::format(", the oldest for {}",
                        durationText(std::chrono::milliseconds(table["behindMs"].get<std::uint64_t>())));
  return text;
}

std::string heldBackText(std::string const& table, Json const& held) {
  auto const need = held["needs"].items().begin();
  return fmt::format(
      "{} version {} (unit {}, {}) is held back: it needs {} version {}, which is applied up to {}", table,
      jsonText(held["version"]), jsonText(held["unit"]), keyText(held), need.key(), jsonText(need.value()),
      jsonText(held["applied"]));
}

Json heldBack(TableInfo const& table, Shoal::SteadyReader<InLifModelLogShoalEntry>& log) {
  Version const announced = announcedVersion(table);
  if (!announced || !log.ready()) return nullptr;
  InLifModelLogShoalEntry record;
  std::uint64_t version = appliedVersion(table).value_or(0) + 1;
  while (version <= *announced && log.lookup(Asic::LogVersion(version), record) != Shoal::Read::found)
    ++version;
  if (version > *announced) return nullptr;
  Shoal::SteadyReader<Asic::NeededRow> needed(neededPath());
  Asic::NeededRow row;
  if (!needed.ready() || needed.lookup({table.id, Asic::LogVersion(version)}, row) != Shoal::Read::found)
    return nullptr;
  for (Asic::TableVersion const& need : row.needs) {
    std::size_t const other = tableIndex(need.tableId());
    if (need.logVersion().value() == 0 || other == kTables) continue;
    std::uint64_t const reached = appliedVersion(tables()[other]).value_or(0);
    if (reached >= need.logVersion().value()) continue;
    return {{"version", version},
            {"unit", record.unitId},
            {"key", record.logEntry.key.value()},
            {"needs", {{tables()[other].name, need.logVersion().value()}}},
            {"applied", reached}};
  }
  return nullptr;
}

}  // namespace Inlif
