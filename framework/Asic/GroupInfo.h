// A group of tables as programs beside its agent know it: which tables there are, and the paths of what they share in the
// store. The writer of the hardware is given one, and learns from it all that it knows of the tables. All paths lie below
// the root that is set when they are used.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Asic/SwTableId.h"
#include "Asic/UnitId.h"
#include "Cobble/Export.h"
#include "Pivot/Status.h"

namespace Asic {

struct LOAM_FRAMEWORK_EXPORT TableInfo {
  TableInfo(std::string_view canonicalGroupName, std::string_view tableNamespace, std::string_view tableName,
            SwTableId tableId);

  std::string name;
  SwTableId id;
  std::string logPath;
  std::string configBase;
  std::string imagePath;
  std::string failuresPath;

  std::string configPath(UnitId unit) const { return configBase + "/" + std::to_string(unit); }
  // The units that have a configuration in the store, ascending. A path that is no unit's is passed over.
  std::vector<UnitId> units() const;
  // The same for who would take a missing one for removed: refused when not all can be seen now.
  Pivot::Status unitsInto(std::vector<UnitId>& units) const;
};

struct LOAM_FRAMEWORK_EXPORT GroupInfo {
  explicit GroupInfo(std::string_view canonicalGroupName);

  std::vector<TableInfo> tables;
  std::string announcedPath;
  std::string neededPath;
  std::string tableVersionPath;

  // The place of a table by its id; tables.size() when it is none of them.
  std::size_t indexOf(SwTableId id) const;
};

}  // namespace Asic
