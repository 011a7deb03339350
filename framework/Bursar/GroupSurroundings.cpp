#include "Bursar/GroupSurroundings.h"

namespace BursarResourceTable {

bool GroupSurroundings::isTaken(Asic::TableVersion const& version) const {
  if (version.logVersion() == Asic::LogVersion{}) return true;
  Asic::SwTableId const tableId = version.tableId();
  for (auto const& [name, group] : orderedTables_.groups()) {
    if (group->agentAndGroupId() != tableId.agentAndGroupId()) continue;
    return group->tableVersionMap().read(tableId).existing >= version.logVersion();
  }
  return false;
}

Pivot::Ptr<Asic::NeededEntry const> GroupSurroundings::published() const {
  auto versions = Pivot::make<Asic::NeededEntry>();
  for (auto const& [name, group] : orderedTables_.groups()) {
    group->forEachSet([&, &owner = *group](Pivot::Ptr<Asic::OrderedSwTableSet> const& set) {
      versions->add(Asic::TableVersion(set->tableId(), owner.announcedVersion(set->tableId())));
    });
  }
  return versions;
}

void GroupSurroundings::resourceSettled() {
  for (auto const& [name, group] : orderedTables_.groups()) group->groupResolver()->noticeResource();
}

}  // namespace BursarResourceTable
