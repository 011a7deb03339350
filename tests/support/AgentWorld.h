// An agent process as a test sees it: the real framework on a store of its own in a temporary directory, the
// eight resource tables, and the writer of the hardware played by the test through the table-version map.
// restart() ends the life of everything but the store and begins another. One at a time, since interfaces are
// process-wide.
#pragma once

#include <memory>

#include "Asic/Constants.h"
#include "Asic/GroupInterface.h"
#include "Asic/OrderedSwTableSet.h"
#include "Asic/OrderedTableInterface.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "Asic/TableVersion.h"
#include "Bursar/GroupSurroundings.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/Kinds.h"
#include "LoamInLif/Resources.h"
#include "LoamTunnelNiLib/ResourceTables.h"
#include "Shoal/EntityManager.h"
#include "Shoal/ShoalMap.h"
#include "Statehub/EntityManager.h"
#include "support/TempStore.h"

namespace TestSupport {

class AgentWorld {
 public:
  AgentWorld() { begin(); }
  ~AgentWorld() { end(); }

  // A life of the agent on the store: begun by the constructor, ended by the destructor.
  // REQUIRES of end(): the test holds no table, interface or handle of the life that ends.
  void begin() {
    store_.claim(TempStore::Role::agent);
    store_.claim(TempStore::Role::writer);
    using Family = LoamInLif::FamilyConstants;
    reports_ = std::make_unique<Reports>();
    mustBeOk(
        reports_->mount({Asic::Constants::canonicalGroupTableVersionShoalPath(
                             Asic::Constants::canonicalizeGroupName(Family::agentName, Family::groupName)),
                         Asic::kMaxTablesOfGroup, 0, TempStore::Role::writer}));
    auto const central = Pivot::make<Statehub::EntityManager>("test", true);
    orderedTables_ = Pivot::make<Asic::OrderedTableInterface>(central);
    orderedTables_->suppressInitialMarkIs(true);
    surroundings_ = std::make_unique<BursarResourceTable::GroupSurroundings>(*orderedTables_);
    resourceTables_ = std::make_unique<LoamTunnelNiLib::ResourceTables>();
    mustBeOk(resourceTables_->make(*orderedTables_, *surroundings_,
                                   VexSharedMem::EntityManager::getEntityManager("test", true)));
  }
  void end() {
    if (!orderedTables_) return;
    if (auto const registry = Asic::SwTableInterfacesSingleton::existing()) registry->swTableIntfDelAll();
    Vex::Entity::singletonDel(Asic::SwTableInterfacesSingleton::kTypeName);
    resourceTables_.reset();
    orderedTables_->takeDown();
    orderedTables_.reset();
    surroundings_.reset();
    reports_.reset();
    VexSharedMem::StoreRoot::release();
  }
  void restart() {
    end();
    begin();
  }

  std::string const& directory() const { return store_.directory(); }
  Asic::OrderedTableInterface& orderedTables() { return *orderedTables_; }
  Asic::GroupInterface& group() {
    using Family = LoamInLif::FamilyConstants;
    return *orderedTables_->group(
        Asic::Constants::canonicalizeGroupName(Family::agentName, Family::groupName));
  }
  template <class I>
  Pivot::Ptr<typename I::Interface> interface() {
    return I::Interface::getIntf(orderedTables_);
  }
  // The resource table that a kind draws on, to be steered.
  template <class Kind>
  typename Kind::ResourceTable& resources() {
    return *LoamInLif::resourceTable<Kind>(*orderedTables_);
  }

  // Lets the resolver work until nothing moves; returns how many operations committed.
  std::size_t resolve() {
    std::size_t committed = 0;
    while (std::size_t const some = group().groupResolver()->turn(1000)) committed += some;
    return committed;
  }
  // The hardware has taken the table's log up to the version. The agent has not looked yet.
  void report(Asic::SwTableId tableId, Asic::LogVersion version) {
    mustBeOk(reports_->reserve(1));
    reports_->set(Asic::TableVersion(tableId, version));
  }
  // The same, and the group passes the report on.
  void acknowledge(Asic::SwTableId tableId, Asic::LogVersion version) {
    report(tableId, version);
    while (group().turn()) {
    }
  }

 private:
  using Reports = Shoal::ShoalMap<Asic::TableVersion>;

  TempStore store_;
  std::unique_ptr<Reports> reports_;
  Pivot::Ptr<Asic::OrderedTableInterface> orderedTables_;
  std::unique_ptr<BursarResourceTable::GroupSurroundings> surroundings_;
  std::unique_ptr<LoamTunnelNiLib::ResourceTables> resourceTables_;
};

}  // namespace TestSupport
