// What `show` was asked for: which tables, units and keys, and in which form. Read once from the command
// line.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/json/ObjectReader.h"
#include "tools/show/ShowCommand.h"
#include "tools/support/Tables.h"

namespace Inlif {

// Tells on standard error how the reading of a collection ended badly; true when it ended well.
bool endedWell(Shoal::Read end, std::string const& path, std::string const& problem);
// The same of a collection that cannot be read at all, which is well when there is none yet.
template <class Record>
bool notReadyIsWell(Shoal::SteadyReader<Record> const& collection) {
  return endedWell(collection.problem().empty() ? Shoal::Read::absent : Shoal::Read::damaged,
                   collection.path(), collection.problem());
}
// Calls take(record) for each record, and tells how that ended badly.
template <class Record, class Take>
bool walkWell(Shoal::SteadyReader<Record>& collection, Take take) {
  if (!collection.ready()) return notReadyIsWell(collection);
  Shoal::Read const end = walk(collection, [&](Record const& record) {
    take(record);
    return true;
  });
  return endedWell(end, collection.path(), collection.problem());
}

// What a record of a log does: "write", "remove" or "removeAll".
char const* doingOf(LoamTunnelNiLib::InLifModelLogShoalEntry const& record);
// The needed versions of a record, by the names of the tables; empty for none.
Json needsOf(Shoal::SteadyReader<Asic::NeededRow>& needed, TableInfo const& table, std::uint64_t version);

struct Selection {
  std::vector<std::size_t> tables;
  std::optional<Asic::UnitId> unit;
  std::optional<std::uint32_t> key;
  bool json = false;
  bool verbose = false;

  static Pivot::Status from(ShowOptions const& options, Selection& out);
  // Refused when a unit was asked for that none of the tables has in the store.
  Pivot::Status unitIsThere() const;

  bool takes(Asic::UnitId aUnit, std::uint32_t aKey) const {
    return (!unit || *unit == aUnit) && (!key || *key == aKey);
  }
  // The same for a record of a log; a remove-all concerns every key.
  bool takesRecord(LoamTunnelNiLib::InLifModelLogShoalEntry const& record) const {
    return record.isTableDeleted() ? !unit || *unit == record.unitId
                                   : takes(record.unitId, record.logEntry.key.value());
  }
  // Calls take(unit, record) for the records of the table's configurations, of the units asked for. False when not all
  // could be read, which is told.
  template <class Take>
  bool walkConfigs(TableInfo const& table, Take take) const {
    bool whole = true;
    for (Asic::UnitId const aUnit : table.units()) {
      if (unit && *unit != aUnit) continue;
      Shoal::SteadyReader<LoamTunnelNiLib::InLifModelConfigShoalEntry> config(table.configPath(aUnit));
      whole &= walkWell(config, [&](auto const& record) { take(aUnit, record); });
    }
    return whole;
  }
};

}  // namespace Inlif
