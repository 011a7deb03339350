// The three tables as programs beside the agent know them: names, ids and the paths of what they share.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "Asic/SwTableId.h"
#include "Asic/UnitId.h"
#include "Pivot/Status.h"

namespace Inlif {

struct TableInfo {
  std::string name;
  Asic::SwTableId id;
  std::string logPath;
  std::string configBase;
  std::string imagePath;

  std::string configPath(Asic::UnitId unit) const;
  // The units that have a configuration in the store, ascending. A path that is no unit's is passed over.
  std::vector<Asic::UnitId> units() const;
  // The same for who would take a missing one for removed: refused when not all can be seen now.
  Pivot::Status unitsInto(std::vector<Asic::UnitId>& units) const;
};

inline constexpr std::size_t kTables = 3;

// In the order InLif0, InLif1, InLif23; all name the paths below the root set when they are used.
std::array<TableInfo, kTables> const& tables();

// The place of a table by its name, or a refusal that lists the names.
Pivot::Status tableIndex(std::string_view name, std::size_t& index);
// The place of a table by its id; kTables when it is none of them.
std::size_t tableIndex(Asic::SwTableId id);

// The shared collections of the group.
std::string const& announcedPath();
std::string const& neededPath();
std::string const& tableVersionPath();

}  // namespace Inlif
