// A table whose operations reach the hardware in the order of a log: one object for each table instance and
// unit.
//
// The set of its instance owns it and it points back to the set. The group tells it how far the writer of the
// hardware has come; the agent asks it whether anything is still under way. All on the agent's one thread.
#pragma once

#include <functional>
#include <utility>

#include "Asic/EntryVersion.h"
#include "Asic/LogVersion.h"
#include "Asic/NamedSwTable.h"
#include "Asic/OrderedSwTableStatus.h"
#include "Asic/SwTableId.h"
#include "Asic/SwTableLatency.h"
#include "Asic/SwTableStats.h"
#include "Asic/UnitId.h"

namespace Asic {

class OrderedSwTableSet;

class LOAM_FRAMEWORK_EXPORT OrderedSwTable : public NamedSwTable {
 public:
  static constexpr Pivot::FieldId kFieldStats = 517;
  static constexpr Pivot::FieldId kFieldStatus = 518;

  class EntryHandle;
  // Called once, when the operation ends. It may write, remove and drop handles; an exception that leaves it
  // ends the process.
  using ResponseHandler = std::function<void(Pivot::Ptr<EntryHandle const> const&)>;

  // The receipt of one operation of an ordered table. The entry version is fixed; the log version is set at
  // the commit.
  class LOAM_FRAMEWORK_EXPORT EntryHandle : public SwTableBase::EntryHandle {
   public:
    using ResponseHandler = OrderedSwTable::ResponseHandler;

    EntryVersion const& entryVersion() const { return entryVersion_; }

    LogVersion logVersion() const { return logVersion_; }
    void logVersionIs(LogVersion version) { logVersion_ = version; }

    void entryStateIs(EntryState state) { storeEntryState(state); }

    // May be empty. It stays in the handle after it was called.
    ResponseHandler const& responseHandler() const { return responseHandler_; }
    void responseHandlerIs(ResponseHandler handler) { responseHandler_ = std::move(handler); }

    // The operation ends: the last state, and then the handler. It is a copy that is called, so the handler may drop
    // the handle or give it another handler; the handle keeps its own.
    void end(EntryState state);

    // When the operation was committed, for the latency of the hardware.
    LatencyStamp latencyStamp() const { return latencyStamp_; }
    void latencyStampIs(LatencyStamp stamp) { latencyStamp_ = stamp; }

    TableVersion entryTableVersion() const override;

   protected:
    explicit EntryHandle(EntryVersion const& entryVersion) : entryVersion_(entryVersion) {}
    ~EntryHandle() override;

   private:
    EntryVersion entryVersion_;
    LogVersion logVersion_;
    LatencyStamp latencyStamp_;
    ResponseHandler responseHandler_;
  };

  SwTableId tableId() const { return tableId_; }
  UnitId unitId() const { return unitId_; }
  // The set that owns this table, or null for a table made outside of any.
  OrderedSwTableSet* swTableSet() const { return swTableSet_; }

  // Null until statsIs() has been called.
  Pivot::Ptr<SwTableStats> const& stats() const { return stats_; }
  // Gives the table its statistics; a table that has some keeps them. Publishes kFieldStats when they are
  // made.
  Pivot::Ptr<SwTableStats> const& statsIs();

  // How long its operations take. Those who drive the operations record it, also over a table that they do
  // not change.
  SwTableLatency& latency() const { return latency_; }

  // The status of the instance, shared by its units; null until set.
  Pivot::Ptr<OrderedSwTableStatus> const& status() const { return status_; }
  void statusIs(Pivot::Ptr<OrderedSwTableStatus> const& status);

  Pivot::Publisher* publisher() const override { return &publisher_; }

  // The writer of the hardware has taken everything up to version.
  virtual void tableStatusVersion(LogVersion version) = 0;
  // Whether an operation is under way or the hardware has not taken all of the log.
  virtual bool hasPendingHwWrites() = 0;

 protected:
  OrderedSwTable(Pivot::Ptr<CanonicalTableName const> name, SwTableId tableId, UnitId unitId,
                 OrderedSwTableSet* swTableSet);
  ~OrderedSwTable() override;

 private:
  SwTableId tableId_;
  UnitId unitId_;
  OrderedSwTableSet* swTableSet_;
  Pivot::Ptr<SwTableStats> stats_;
  Pivot::Ptr<OrderedSwTableStatus> status_;
  mutable Pivot::Publisher publisher_;
  mutable SwTableLatency latency_;
};

}  // namespace Asic
