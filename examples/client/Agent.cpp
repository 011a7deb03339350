#include "Agent.h"

#include <Asic/Constants.h>
#include <Asic/GroupShoal.h>
#include <Asic/SwTableInterfacesSingleton.h>
#include <Shoal/EntityManager.h>
#include <Shoal/StoreRoot.h>
#include <Statehub/EntityManager.h>

#include <stdexcept>

using VexSharedMem::StoreRoot;

namespace {
void mustBeOk(Pivot::Status const& status) {
  if (!status.isOk()) throw std::runtime_error(status.message());
}
}  // namespace

Agent::Agent(std::string const& storeDirectory) {
  StoreRoot::rootIs(storeDirectory);
  mustBeOk(StoreRoot::claim(StoreRoot::Role::agent));
  mustBeOk(StoreRoot::claim(StoreRoot::Role::writer));
  mustBeOk(reports_.mount({Asic::Constants::canonicalGroupTableVersionShoalPath(groupName()),
                           Asic::kMaxTablesOfGroup, 0, StoreRoot::Role::writer}));
  orderedTables_ =
      Pivot::make<Asic::OrderedTableInterface>(Pivot::make<Statehub::EntityManager>("client", true));
  surroundings_ = std::make_unique<BursarResourceTable::GroupSurroundings>(*orderedTables_);
  mustBeOk(resourceTables_.make(*orderedTables_, *surroundings_,
                                VexSharedMem::EntityManager::getEntityManager("client", true)));
}

Agent::~Agent() {
  if (auto const registry = Asic::SwTableInterfacesSingleton::existing()) registry->swTableIntfDelAll();
  orderedTables_->takeDown();
}

Pivot::String Agent::groupName() const {
  using Family = LoamInLif::FamilyConstants;
  return Asic::Constants::canonicalizeGroupName(Family::agentName, Family::groupName);
}

Asic::GroupInterface& Agent::group() const {
  return *orderedTables_->group(groupName());
}

void Agent::resolve() {
  while (group().groupResolver()->turn(1000) != 0) {
  }
}

void Agent::takeAll(Asic::SwTableId tableId) {
  mustBeOk(reports_.reserve(1));
  reports_.set(Asic::TableVersion(tableId, group().announcedVersion(tableId)));
  while (group().turn()) {
  }
}
