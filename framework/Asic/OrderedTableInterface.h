// The framework's front door: the groups of the agent, the registered table interfaces and the resource
// tables.
//
// The agent makes one, registers its resource tables, and gives it to the clients, which hand it to the
// interfaces of their tables. It owns groups and resource tables; the table interfaces own themselves through
// the registry and are named here by plain pointers, which they take out when they go.
#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>

#include "Asic/GroupInterface.h"
#include "Asic/NamedSwTable.h"
#include "Asic/TableInterfaceBase.h"
#include "Cobble/Slab.h"

namespace Statehub {
class EntityManager;
}

namespace Asic {

class LOAM_FRAMEWORK_EXPORT OrderedTableInterface final : public Pivot::Node {
 public:
  COBBLE_SLAB(OrderedTableInterface, Cobble::SlabAllocationPattern::kDefault)

  // REQUIRES: entityManager is not null.
  explicit OrderedTableInterface(Pivot::Ptr<Statehub::EntityManager> entityManager);
  ~OrderedTableInterface() override;
  Pivot::TypeData typeData() const override;

  Pivot::Ptr<Statehub::EntityManager> const& entityManager() const { return entityManager_; }

  // On return the group exists under its canonical name, and the central store has the relaunch entity of the
  // agent. A group that exists already is left as it is; to ask for it with another id is a fault of the
  // caller and ends the process.
  void makeGroupIntf(Pivot::String const& agentName, Pivot::String const& groupName,
                     std::uint16_t agentAndGroupId);
  // The group of a canonical name, or null.
  Pivot::Ptr<GroupInterface> group(Pivot::String const& canonicalName) const;
  // In order of name.
  absl::btree_map<Pivot::String, Pivot::Ptr<GroupInterface>> const& groups() const { return groups_; }

  // Names a table interface; null takes the name out.
  void swTableIntfIs(Pivot::String const& key, TableInterfaceBase* interface);
  void swTableIntfDel(Pivot::String const& key);
  // Null when nothing is registered under key.
  TableInterfaceBase* swTableIntf(Pivot::String const& key) const;

  // Registers a resource table under its canonical name, in place of an earlier one. REQUIRES: table is not
  // null.
  void resourceTableIs(Pivot::Ptr<NamedSwTable> const& table);
  // Null when nothing is registered under the canonical name.
  Pivot::Ptr<NamedSwTable> resourceTable(Pivot::String const& canonicalName) const;
  absl::btree_map<Pivot::String, Pivot::Ptr<NamedSwTable>> const& resourceTables() const {
    return resourceTables_;
  }

  // While true, a new table does not begin to mark: the agent knows that its clients will not write again
  // what they want.
  bool suppressInitialMark() const { return suppressInitialMark_; }
  void suppressInitialMarkIs(bool suppress) { suppressInitialMark_ = suppress; }

  // Lets each registered table interface clear the units that nobody serves. To be called once every client
  // has made its tables.
  void reconcile();

  // Ends the marking of every group's tables, once the clients have written what they want. The removes that a
  // sweep queues release their resources when they are committed.
  void sweep();

  // Lets the resource tables free what nobody has claimed. Apart from sweep(), because a unit that is in the
  // store without a table has claimed nothing, and its entries may still be in the hardware with the values of
  // their keys. REQUIRES: the tables have been swept, and no such unit is left.
  void freeUnclaimed();

  // Ends everything that was made through this interface: groups with their tables, then the resource tables. Whoever
  // makes a group with it afterwards ends the process with a text.
  void takeDown();

 private:
  Pivot::Ptr<Statehub::EntityManager> entityManager_;
  absl::btree_map<Pivot::String, Pivot::Ptr<GroupInterface>> groups_;
  absl::btree_map<Pivot::String, TableInterfaceBase*> swTableIntfs_;
  absl::btree_map<Pivot::String, Pivot::Ptr<NamedSwTable>> resourceTables_;
  bool suppressInitialMark_ = false;
  bool isTakenDown_ = false;
};

}  // namespace Asic
