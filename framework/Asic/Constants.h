// The names of what two processes, or two lives of one, must find again: groups, collections and entities.
//
//   canonical group name      <agent>.<group>
//   configuration of a unit   asic/<canonical group>/config/<namespace>/<table>/<unit>
//   change log of a table     asic/<canonical group>/log/<namespace>/<table>
//   announced versions        asic/<canonical group>/group/announced
//   needed versions           asic/<canonical group>/group/needed
//   table-version map         asic/<canonical group>/hardware/tableVersion
//   image of a table          asic/<canonical group>/hardware/image/<namespace>/<table>
//   failures of a table       asic/<canonical group>/hardware/failures/<namespace>/<table>
//   relaunch of an agent      hardware/spindle/agent/relaunch/config/<agent>   (central store)
//
// What lies below hardware/ is written by the writer of the hardware, all else by the agent.
#pragma once

#include <optional>
#include <string_view>

#include "Asic/UnitId.h"
#include "Cobble/Export.h"
#include "Pivot/Types.h"

namespace Asic {

struct LOAM_FRAMEWORK_EXPORT Constants {
  // The key of a group among the groups of the agent.
  static Pivot::String canonicalizeGroupName(std::string_view agentName, std::string_view groupName);

  // The path below which the configurations of all units of one table lie, and nothing else.
  static Pivot::String canonicalGroupTableConfigShoalPathBase(std::string_view canonicalGroupName,
                                                              std::string_view tableNamespace,
                                                              std::string_view tableName);
  static Pivot::String canonicalGroupTableConfigShoalPath(std::string_view canonicalGroupName,
                                                          std::string_view tableNamespace,
                                                          std::string_view tableName, UnitId unitId);
  // The unit of a path made by canonicalGroupTableConfigShoalPath. Any other path ends the process: such a
  // collection was not made by an agent, and clearing the wrong unit would be worse.
  static UnitId getUnitIdFromConfigPath(std::string_view configPath);
  // The same for a path that was found, and may be a stray one: nothing then.
  static std::optional<UnitId> unitOfConfigPath(std::string_view configPath);

  static Pivot::String canonicalGroupTableLogShoalPath(std::string_view canonicalGroupName,
                                                       std::string_view tableNamespace,
                                                       std::string_view tableName);
  static Pivot::String canonicalGroupAnnouncedShoalPath(std::string_view canonicalGroupName);
  static Pivot::String canonicalGroupNeededShoalPath(std::string_view canonicalGroupName);
  static Pivot::String canonicalGroupTableVersionShoalPath(std::string_view canonicalGroupName);
  static Pivot::String canonicalGroupTableImageShoalPath(std::string_view canonicalGroupName,
                                                         std::string_view tableNamespace,
                                                         std::string_view tableName);
  static Pivot::String canonicalGroupTableFailuresShoalPath(std::string_view canonicalGroupName,
                                                            std::string_view tableNamespace,
                                                            std::string_view tableName);
  static Pivot::String relaunchPath(std::string_view agentName);
};

}  // namespace Asic
