// The registries of the framework's front door, and what runs over all of them.
#include "Asic/OrderedTableInterface.h"

#include <utility>
#include <vector>

#include "Asic/Constants.h"
#include "Asic/GenId.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "Statehub/EntityManager.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace Asic {

namespace {

Vex::TraceHandle traceHandle("OrderedTableInterface");

// The value under a key of one of the registries, or null.
template <class Map>
typename Map::mapped_type lookup(Map const& map, Pivot::String const& key) {
  auto const at = map.find(key);
  return at == map.end() ? nullptr : at->second;
}

}  // namespace

OrderedTableInterface::OrderedTableInterface(Pivot::Ptr<Statehub::EntityManager> entityManager)
    : entityManager_(std::move(entityManager)) {
  VEX_ASSERT(entityManager_ != nullptr, "entityManager");
  GenId::typeRegister();
}

OrderedTableInterface::~OrderedTableInterface() = default;

void OrderedTableInterface::makeGroupIntf(Pivot::String const& agentName, Pivot::String const& groupName,
                                          std::uint16_t agentAndGroupId) {
  VEX_ASSERT_MSG(!isTakenDown_, "a group is made before the take-down of the framework", "{} {}", agentName,
                 groupName);
  Pivot::Ptr<GroupInterface>& group = groups_[Constants::canonicalizeGroupName(agentName, groupName)];
  if (group != nullptr) {
    VEX_ASSERT_MSG(group->agentAndGroupId() == agentAndGroupId, "a group has one id",
                   "{}: {:04x}, asked for with {:04x}", group->name(), group->agentAndGroupId(),
                   agentAndGroupId);
    return;
  }
  // Without the entity a loss is still reported and survived; only nobody is asked to relaunch. The central
  // store has told why.
  if (entityManager_->entityIs(Constants::relaunchPath(agentName), GenId::kTypeName) == nullptr) {
    VEX_TRACE(traceHandle, 1, "agent {} has no relaunch generation", agentName);
  }
  group = Pivot::make<GroupInterface>(agentName, groupName, agentAndGroupId, entityManager_);
  VEX_TRACE(traceHandle, 2, "group {} made, id {:04x}", group->name(), agentAndGroupId);
}

Pivot::Ptr<GroupInterface> OrderedTableInterface::group(Pivot::String const& canonicalName) const {
  return lookup(groups_, canonicalName);
}

void OrderedTableInterface::swTableIntfIs(Pivot::String const& key, TableInterfaceBase* interface) {
  if (interface == nullptr) {
    swTableIntfs_.erase(key);
  } else {
    swTableIntfs_[key] = interface;
  }
}

void OrderedTableInterface::swTableIntfDel(Pivot::String const& key) {
  swTableIntfs_.erase(key);
}

TableInterfaceBase* OrderedTableInterface::swTableIntf(Pivot::String const& key) const {
  return lookup(swTableIntfs_, key);
}

void OrderedTableInterface::resourceTableIs(Pivot::Ptr<NamedSwTable> const& table) {
  VEX_ASSERT(table != nullptr, "resourceTable");
  resourceTables_[table->name()] = table;
}

Pivot::Ptr<NamedSwTable> OrderedTableInterface::resourceTable(Pivot::String const& canonicalName) const {
  return lookup(resourceTables_, canonicalName);
}

void OrderedTableInterface::reconcile() {
  std::vector<Pivot::Ptr<TableInterfaceBase>> interfaces;
  for (auto const& [key, interface] : swTableIntfs_) interfaces.emplace_back(interface);
  for (Pivot::Ptr<TableInterfaceBase> const& interface : interfaces) interface->reconcile();
}

void OrderedTableInterface::sweep() {
  for (auto const& [name, group] : groups_) group->sweepTables();
}

void OrderedTableInterface::freeUnclaimed() {
  for (auto const& [name, table] : resourceTables_) table->reconcile();
}

void OrderedTableInterface::takeDown() {
  // The interfaces hold this object: the caller's count must not be the last thing between it and its end.
  Pivot::Ptr<OrderedTableInterface> const self(this);
  if (Pivot::Ptr<SwTableInterfacesSingleton> const registry = SwTableInterfacesSingleton::existing()) {
    while (!swTableIntfs_.empty()) {
      Pivot::String const key = swTableIntfs_.begin()->first;
      registry->swTableIntfDel(key);
      swTableIntfs_.erase(key);
    }
  }
  isTakenDown_ = true;
  auto const groups = std::exchange(groups_, {});
  for (auto const& [name, group] : groups) group->takeDown();
  resourceTables_.clear();
}

}  // namespace Asic
