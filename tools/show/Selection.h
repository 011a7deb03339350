// What `show` was asked for: which tables, units and keys, and in which form. Read once from the command
// line.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/json/ObjectReader.h"
#include "tools/show/ShowCommand.h"
#include "tools/support/Tables.h"

namespace Inlif {

// Tells on standard error how the reading of a collection ended badly; true when it ended well.
bool endedWell(Shoal::Read end, std::string const& path, std::string const& problem);

struct Selection {
  std::vector<std::size_t> tables;
  std::optional<Asic::UnitId> unit;
  std::optional<std::uint32_t> key;
  bool json = false;

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
  // Prints one record: as JSON, or as one line of words.
  void print(Json const& record) const;
};

}  // namespace Inlif
