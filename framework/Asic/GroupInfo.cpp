#include "Asic/GroupInfo.h"

#include <algorithm>

#include "Asic/Constants.h"
#include "Shoal/StoreRoot.h"

namespace Asic {

TableInfo::TableInfo(std::string_view canonicalGroupName, std::string_view tableNamespace,
                     std::string_view tableName, SwTableId tableId)
    : name(tableName),
      id(tableId),
      logPath(Constants::canonicalGroupTableLogShoalPath(canonicalGroupName, tableNamespace, tableName)),
      configBase(
          Constants::canonicalGroupTableConfigShoalPathBase(canonicalGroupName, tableNamespace, tableName)),
      imagePath(Constants::canonicalGroupTableImageShoalPath(canonicalGroupName, tableNamespace, tableName)),
      failuresPath(
          Constants::canonicalGroupTableFailuresShoalPath(canonicalGroupName, tableNamespace, tableName)) {}

std::vector<UnitId> TableInfo::units() const {
  std::vector<UnitId> units;
  static_cast<void>(unitsInto(units));
  return units;
}

Pivot::Status TableInfo::unitsInto(std::vector<UnitId>& units) const {
  std::vector<std::string> paths;
  Pivot::Status status = VexSharedMem::StoreRoot::list(configBase, paths);
  units.clear();
  // A stray file is nobody's; the agent and a check of the store tell of it.
  for (std::string const& path : paths)
    if (auto const unit = Constants::unitOfConfigPath(path); unit && configPath(*unit) == path)
      units.push_back(*unit);
  std::ranges::sort(units);
  return status;
}

GroupInfo::GroupInfo(std::string_view canonicalGroupName)
    : announcedPath(Constants::canonicalGroupAnnouncedShoalPath(canonicalGroupName)),
      neededPath(Constants::canonicalGroupNeededShoalPath(canonicalGroupName)),
      tableVersionPath(Constants::canonicalGroupTableVersionShoalPath(canonicalGroupName)) {}

std::size_t GroupInfo::indexOf(SwTableId id) const {
  return static_cast<std::size_t>(std::ranges::find(tables, id, &TableInfo::id) - tables.begin());
}

}  // namespace Asic
