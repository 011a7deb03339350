// Composition of the names that processes and lives share, and the way back from a configuration path to its
// unit.
#include "Asic/Constants.h"

#include <fmt/format.h>

#include <charconv>

#include "Vex/Assert.h"

namespace Asic {

Pivot::String Constants::canonicalizeGroupName(std::string_view agentName, std::string_view groupName) {
  return fmt::format("{}.{}", agentName, groupName);
}

Pivot::String Constants::canonicalGroupTableConfigShoalPathBase(std::string_view canonicalGroupName,
                                                                std::string_view tableNamespace,
                                                                std::string_view tableName) {
  return fmt::format("asic/{}/config/{}/{}", canonicalGroupName, tableNamespace, tableName);
}

Pivot::String Constants::canonicalGroupTableConfigShoalPath(std::string_view canonicalGroupName,
                                                            std::string_view tableNamespace,
                                                            std::string_view tableName, UnitId unitId) {
  return fmt::format(
      "{}/{}", canonicalGroupTableConfigShoalPathBase(canonicalGroupName, tableNamespace, tableName), unitId);
}

namespace {

std::optional<UnitId> lastNumberOf(std::string_view configPath) {
  std::string_view const unit = configPath.substr(configPath.rfind('/') + 1);
  UnitId unitId = 0;
  auto const [end, error] = std::from_chars(unit.data(), unit.data() + unit.size(), unitId);
  if (error != std::errc() || end != unit.data() + unit.size()) return std::nullopt;
  return unitId;
}

}  // namespace

std::optional<UnitId> Constants::unitOfConfigPath(std::string_view configPath) {
  std::optional<UnitId> const unitId = lastNumberOf(configPath);
  return unitId && *unitId <= kMostUnit ? unitId : std::nullopt;
}

UnitId Constants::getUnitIdFromConfigPath(std::string_view configPath) {
  std::optional<UnitId> const unitId = lastNumberOf(configPath);
  VEX_ASSERT_MSG(unitId.has_value(), "the path of a configuration ends in its unit", "path {}", configPath);
  return *unitId;
}

Pivot::String Constants::canonicalGroupTableLogShoalPath(std::string_view canonicalGroupName,
                                                         std::string_view tableNamespace,
                                                         std::string_view tableName) {
  return fmt::format("asic/{}/log/{}/{}", canonicalGroupName, tableNamespace, tableName);
}

Pivot::String Constants::canonicalGroupAnnouncedShoalPath(std::string_view canonicalGroupName) {
  return fmt::format("asic/{}/group/announced", canonicalGroupName);
}

Pivot::String Constants::canonicalGroupNeededShoalPath(std::string_view canonicalGroupName) {
  return fmt::format("asic/{}/group/needed", canonicalGroupName);
}

Pivot::String Constants::canonicalGroupTableVersionShoalPath(std::string_view canonicalGroupName) {
  return fmt::format("asic/{}/hardware/tableVersion", canonicalGroupName);
}

Pivot::String Constants::canonicalGroupTableImageShoalPath(std::string_view canonicalGroupName,
                                                           std::string_view tableNamespace,
                                                           std::string_view tableName) {
  return fmt::format("asic/{}/hardware/image/{}/{}", canonicalGroupName, tableNamespace, tableName);
}

Pivot::String Constants::canonicalGroupTableFailuresShoalPath(std::string_view canonicalGroupName,
                                                              std::string_view tableNamespace,
                                                              std::string_view tableName) {
  return fmt::format("asic/{}/hardware/failures/{}/{}", canonicalGroupName, tableNamespace, tableName);
}

Pivot::String Constants::relaunchPath(std::string_view agentName) {
  return fmt::format("hardware/spindle/agent/relaunch/config/{}", agentName);
}

}  // namespace Asic
