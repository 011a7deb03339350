// The modules of the group with its resolver, and of the registries by which interfaces, groups and resource
// tables are found.
#include <vector>

#include "Asic/Records.h"
#include "Pivot/ModuleTables.h"

namespace {

using namespace Asic;
using namespace Pivot::Inspect;

template <class Map>
std::vector<typename Map::key_type> keysOf(Map const& map) {
  std::vector<typename Map::key_type> keys;
  for (auto const& member : map) keys.push_back(member.first);
  return keys;
}

struct GroupResolverRecord : Record<GroupResolver, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&GroupResolver::groupName>(130, "groupName"),
      operation<&GroupResolver::updateGenId>(131, "updateGenId"),
      operation<&GroupResolver::maybeUpdateSuspend>(132, "maybeUpdateSuspend"),
      stored<&GroupResolver::suspended>(133, "suspended"),
      computed<&GroupResolver::length>(134, "length"),
      computed<&GroupResolver::waitingHeads>(135, "waitingHeads"),
      computed<&GroupResolver::needsTurn>(136, "needsTurn"),
      computed<&GroupResolver::nextAskTime>(137, "nextAskTime")};
};

std::vector<SwTableId> tablesOf(GroupInterface const& group) {
  std::vector<SwTableId> tables;
  group.forEachSet([&](Pivot::Ptr<OrderedSwTableSet> const& set) { tables.push_back(set->tableId()); });
  std::sort(tables.begin(), tables.end());
  return tables;
}
struct GroupInterfaceRecord : Record<GroupInterface, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&GroupInterface::agentName>(130, "agentName"),
      stored<&GroupInterface::groupName>(131, "groupName"),
      stored<&GroupInterface::name>(132, "name"),
      stored<&GroupInterface::agentAndGroupId>(133, "agentAndGroupId"),
      stored<&GroupInterface::groupResolver>(134, "groupResolver"),
      collection<ListedAccess<&GroupInterface::swTableSet, &tablesOf>>(135, "swTableSet"),
      operation<&GroupInterface::announcedVersion, "tableId">(136, "announcedVersion")};
};

struct TableInterfaceBaseRecord : Record<TableInterfaceBase, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&TableInterfaceBase::orderedTableIntf>(130, "orderedTableIntf"),
      operation<&TableInterfaceBase::reconcile>(131, "reconcile")};
};

std::vector<Pivot::String> groupsOf(OrderedTableInterface const& tables) {
  return keysOf(tables.groups());
}
std::vector<Pivot::String> resourceTablesOf(OrderedTableInterface const& tables) {
  return keysOf(tables.resourceTables());
}
struct OrderedTableInterfaceRecord : Record<OrderedTableInterface, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&OrderedTableInterface::entityManager>(130, "entityManager"),
      collection<ListedAccess<&OrderedTableInterface::group, &groupsOf>>(131, "group"),
      collection<ListedAccess<&OrderedTableInterface::resourceTable, &resourceTablesOf>>(132,
                                                                                         "resourceTable"),
      stored<&OrderedTableInterface::suppressInitialMark, &OrderedTableInterface::suppressInitialMarkIs>(
          133, "suppressInitialMark"),
      operation<&OrderedTableInterface::swTableIntf, "key">(134, "swTableIntf")};
};

std::vector<Pivot::String> interfacesOf(SwTableInterfacesSingleton const& singleton) {
  return keysOf(singleton.swTableIntfs());
}
struct SwTableInterfacesSingletonRecord : Record<SwTableInterfacesSingleton, Vex::Entity> {
  static constexpr std::array attributes{
      collection<ListedAccess<&SwTableInterfacesSingleton::swTableIntf, &interfacesOf>>(258, "swTableIntf")};
};

struct EntityManagerRecord : Record<Statehub::EntityManager, Pivot::Node> {
  static constexpr std::array attributes{stored<&Statehub::EntityManager::systemName>(130, "systemName"),
                                         stored<&Statehub::EntityManager::local>(131, "local")};
};

}  // namespace

PIVOT_DEFINE_MODULE(_GroupResolver_4df014a59aa7a4f0_vexModule, GroupResolverRecord)
PIVOT_DEFINE_MODULE(_GroupInterface_91c6e20fd83b574a_vexModule, GroupInterfaceRecord)
PIVOT_DEFINE_MODULE(_OrderedTableInterface_76a1f4d20e9c8b35_vexModule, TableInterfaceBaseRecord,
                    OrderedTableInterfaceRecord, SwTableInterfacesSingletonRecord, EntityManagerRecord)

namespace Asic {

PIVOT_DEFINE_TYPE_DATA(GroupResolver)
PIVOT_DEFINE_TYPE_DATA(GroupInterface)
PIVOT_DEFINE_TYPE_DATA(OrderedTableInterface)
PIVOT_DEFINE_TYPE_DATA(SwTableInterfacesSingleton)

}  // namespace Asic

PIVOT_DEFINE_TYPE_DATA(Statehub::EntityManager)
