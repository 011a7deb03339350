// The table interface of one instance: the front door of a client, and the owner of what all units of the
// instance share. There is at most one per instance and process; getIntf makes it, and the process-wide
// Asic::SwTableInterfacesSingleton keeps it. It is complete when its constructor returns. Clients and the
// framework call it on the agent's one thread.
//
// The real classes, InLif0Interface and so on, stand in InLifNInterface.h.
#pragma once

#include <utility>

#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Asic/TableInterfaceBase.h"
#include "Asic/UnitId.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"

namespace Asic {
class GroupInterface;
class OrderedSwTable;
class OrderedSwTableSet;
class OrderedSwTableStatus;
class OrderedTableInterface;
}  // namespace Asic
namespace Statehub {
class EntityManager;
}  // namespace Statehub
namespace Vex {
class TraceHandle;
}  // namespace Vex

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT InterfaceOf : public Asic::TableInterfaceBase {
 public:
  using Interface = typename I::Interface;
  using SwTable = typename I::SwTable;
  using EntryLog = typename I::EntryLog;
  using SwTableHelperBase = typename I::SwTableHelperBase;

  // The interface of the instance. The first call makes it with `ordTblIntf`; later ones do not look at it.
  static Pivot::Ptr<Interface> getIntf(Pivot::Ptr<Asic::OrderedTableInterface> const& ordTblIntf);

  // Only getIntf makes interfaces; a second one stops with "Interface already created".
  explicit InterfaceOf(Pivot::Ptr<Asic::OrderedTableInterface> const& orderedTableIntf);
  ~InterfaceOf() override;

  Pivot::String const& tableName() const { return tableName_; }
  Asic::SwTableId tableId() const { return I::tableId; }
  Pivot::String const& groupName() const { return groupName_; }
  Pivot::String const& agentName() const { return agentName_; }
  Pivot::String const& tableNamespace() const { return tableNamespace_; }
  // The strings can be assigned, as inspection offers it; nothing else does.
  void tableNameIs(Pivot::String const& name) { tableName_ = name; }
  void groupNameIs(Pivot::String const& name) { groupName_ = name; }
  void agentNameIs(Pivot::String const& name) { agentName_ = name; }
  void tableNamespaceIs(Pivot::String const& name) { tableNamespace_ = name; }

  // Each setter returns the present object when it was made from equal arguments, else a new one.
  Pivot::Ptr<EntryLog> const& entryLog() const { return entryLog_; }
  Pivot::Ptr<EntryLog> entryLogIs(Asic::SwTableId tableId,
                                  Pivot::Ptr<Statehub::EntityManager> const& entityManager,
                                  Pivot::Ptr<Asic::GroupInterface> const& groupInterface,
                                  Pivot::String const& agentName);
  Pivot::Ptr<EntryLog> entryLogDel();
  Pivot::Ptr<Asic::OrderedSwTableStatus> const& swTableStatus() const { return swTableStatus_; }
  Pivot::Ptr<Asic::OrderedSwTableStatus> swTableStatusIs(Asic::SwTableId tableId);
  Pivot::Ptr<Asic::OrderedSwTableStatus> swTableStatusDel();
  Pivot::Ptr<Asic::OrderedSwTableSet> const& swTableSet() const { return swTableSet_; }
  Pivot::Ptr<Asic::OrderedSwTableSet> swTableSetIs(
      Asic::SwTableId tableId, Pivot::Ptr<Asic::OrderedSwTableStatus> const& swTableStatus);
  Pivot::Ptr<Asic::OrderedSwTableSet> swTableSetDel();

  // The table of a unit, made if there is none. `swTableHelper` may be null: the table keeps the helper it
  // has. With `reset` the table comes up empty, or is emptied; without, it comes up with what the store
  // holds. The ten resource tables must be registered under their canonical names.
  Pivot::Ptr<SwTable> makeSwTable(Asic::UnitId unitId, Pivot::Ptr<SwTableHelperBase> const& swTableHelper,
                                  bool reset);

  // Clears each unit that has a configuration in the store and no table. The caller waits until the clients
  // have made the tables that they serve. A unit that cannot be mounted is told and passed over; a later call
  // tries it again.
  void reconcile() override;
  // The same for one unit, for a caller who has other work in between. Refused: it cannot be mounted.
  Pivot::Status reconcileUnit(Asic::UnitId unitId);

  void handleInitialized();
  void onDelete();

 private:
  friend struct RecordOf<InterfaceOf>;

  Pivot::Ptr<Asic::GroupInterface> group() const;
  void takePendingWork(Asic::GroupInterface& group);
  Pivot::Ptr<SwTable> updateExistingTable(Pivot::Ptr<Asic::OrderedSwTable> const& table,
                                          Pivot::Ptr<SwTableHelperBase> const& swTableHelper, bool reset);
  Pivot::Ptr<SwTable> buildTable(Asic::UnitId unitId, Pivot::Ptr<SwTableHelperBase> const& swTableHelper,
                                 Asic::GroupInterface& group);
  template <class Kind>
  void makeLinkage(SwTable& table);
  void startTable(Pivot::Ptr<SwTable> const& table, bool reset, Asic::LogVersion tableVersion,
                  Asic::GroupInterface& group);

  static Vex::TraceHandle trace_;

  Pivot::String tableName_ = I::tableName;
  Pivot::String groupName_ = I::groupName;
  Pivot::String agentName_ = I::agentName;
  Pivot::String tableNamespace_ = I::tableNamespace;
  Pivot::Ptr<EntryLog> entryLog_;
  Pivot::Ptr<Asic::OrderedSwTableStatus> swTableStatus_;
  Pivot::Ptr<Asic::OrderedSwTableSet> swTableSet_;
};

}  // namespace LoamInLif
