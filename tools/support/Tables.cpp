#include "tools/support/Tables.h"

#include <fmt/format.h>

#include <algorithm>

#include "Asic/Constants.h"
#include "LoamInLif/InLifNConstants.h"
#include "LoamInLif/Instance.h"
#include "Shoal/StoreRoot.h"
#include "tools/json/Document.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

using Asic::Constants;

std::string const& groupName() {
  static std::string const name = Constants::canonicalizeGroupName(LoamInLif::FamilyConstants::agentName,
                                                                   LoamInLif::FamilyConstants::groupName);
  return name;
}

template <class I>
TableInfo infoOf() {
  return {I::tableName, I::tableId, I::Constants::tableEntryLogShoalPath(),
          Constants::canonicalGroupTableConfigShoalPathBase(groupName(), I::tableNamespace, I::tableName),
          Constants::canonicalGroupTableImageShoalPath(groupName(), I::tableNamespace, I::tableName)};
}

}  // namespace

std::string TableInfo::configPath(Asic::UnitId unit) const {
  return Constants::canonicalGroupTableConfigShoalPath(
      groupName(), LoamInLif::FamilyConstants::tableNamespace, name, unit);
}

std::vector<Asic::UnitId> TableInfo::units() const {
  std::vector<Asic::UnitId> units;
  static_cast<void>(unitsInto(units));
  return units;
}

Pivot::Status TableInfo::unitsInto(std::vector<Asic::UnitId>& units) const {
  std::vector<std::string> paths;
  Pivot::Status status = VexSharedMem::StoreRoot::list(configBase, paths);
  units.clear();
  // A stray file is nobody's; the agent and `inlif check` tell of it.
  for (std::string const& path : paths)
    if (auto const unit = Constants::unitOfConfigPath(path); unit && configPath(*unit) == path)
      units.push_back(*unit);
  std::ranges::sort(units);
  return status;
}

std::array<TableInfo, kTables> const& tables() {
  static std::array<TableInfo, kTables> const all{infoOf<LoamInLif::InLif0>(), infoOf<LoamInLif::InLif1>(),
                                                  infoOf<LoamInLif::InLif23>()};
  return all;
}

Pivot::Status tableIndex(std::string_view name, std::size_t& index) {
  std::string names;
  for (std::size_t i = 0; i < kTables; ++i) {
    if (tables()[i].name == name) {
      index = i;
      return Pivot::Status::ok();
    }
    names += (i ? ", " : "") + tables()[i].name;
  }
  return Pivot::Status::refused(
      fmt::format("table {} is unknown; expected one of {}", shownText(name), names));
}

std::size_t tableIndex(Asic::SwTableId id) {
  std::size_t index = 0;
  while (index < kTables && tables()[index].id != id) ++index;
  return index;
}

std::string const& announcedPath() {
  static std::string const path = Constants::canonicalGroupAnnouncedShoalPath(groupName());
  return path;
}

std::string const& neededPath() {
  static std::string const path = Constants::canonicalGroupNeededShoalPath(groupName());
  return path;
}

std::string const& tableVersionPath() {
  static std::string const path = Constants::canonicalGroupTableVersionShoalPath(groupName());
  return path;
}

}  // namespace Inlif
