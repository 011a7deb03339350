#include "tools/show/HeldBack.h"

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifImage.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

Version announcedVersion(TableInfo const& table) {
  SteadyReader<Asic::AnnouncedRow> rows(announcedPath());
  Asic::AnnouncedRow row;
  if (!rows.ready() || rows.lookup(table.id, row) != Read::found) return std::nullopt;
  return row.version.value();
}

Version appliedVersion(TableInfo const& table) {
  SteadyReader<InLifImageEntry> image(table.imagePath);
  return scratchpadOf(image);
}

Json heldBack(TableInfo const& table, SteadyReader<InLifModelLogShoalEntry>& log) {
  Version const announced = announcedVersion(table);
  if (!announced || !log.ready()) return nullptr;
  InLifModelLogShoalEntry record;
  std::uint64_t version = appliedVersion(table).value_or(0) + 1;
  while (version <= *announced && log.lookup(Asic::LogVersion(version), record) != Read::found) ++version;
  if (version > *announced) return nullptr;
  SteadyReader<Asic::NeededRow> needed(neededPath());
  Asic::NeededRow row;
  if (!needed.ready() || needed.lookup({table.id, Asic::LogVersion(version)}, row) != Read::found)
    return nullptr;
  for (Asic::TableVersion const& need : row.needs) {
    std::size_t const other = tableIndex(need.tableId());
    if (need.logVersion().value() == 0 || other == kTables) continue;
    std::uint64_t const reached = appliedVersion(tables()[other]).value_or(0);
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

}  // namespace Inlif
