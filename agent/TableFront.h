// One of the three table instances as whoever goes over all of them sees it: without its types.
//
// The host makes one for each instance and owns it; a front holds the instance's interface. On the agent's
// one thread.
#pragma once

#include <memory>
#include <vector>

#include "Asic/GroupInfo.h"
#include "Asic/NeededEntry.h"
#include "Asic/OrderedSwTableStatus.h"
#include "Asic/OrderedTableInterface.h"
#include "Asic/SwTableStats.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifModelSwTableBase.h"
#include "Pivot/Status.h"

namespace LoamAgent {

class TableFront {
 public:
  using Table = LoamTunnelNiLib::InLifModelSwTableBase;

  struct SweepPlan {
    static constexpr std::size_t kMostSample = 10;

    std::uint64_t go = 0;
    std::uint64_t stay = 0;
    std::vector<std::uint32_t> sample;  // keys that would go, the first kMostSample in the table's order
  };

  // What the sweep would go through, without the removes; it may rest between two steps.
  class SweepWalk {
   public:
    virtual ~SweepWalk() = default;
    // Looks at one entry. False at the end.
    virtual bool step() = 0;
    // What was found so far.
    virtual SweepPlan plan() const = 0;
  };

  // What is under way on a unit, and what it has counted.
  struct UnitStatus {
    Asic::UnitId unit = 0;
    std::uint32_t entries = 0;
    std::uint64_t inDeletion = 0;
    std::uint64_t pendingWrites = 0;
    std::uint64_t pendingRemoves = 0;
    std::uint64_t pendingRemoveAlls = 0;
    std::uint64_t keysUnderWay = 0;
    std::uint64_t queued = 0;
    std::uint64_t inLog = 0;
    std::uint64_t setAside = 0;
    bool marking = false;
    std::uint64_t marked = 0;
    bool pending = false;
    Pivot::Ptr<Asic::SwTableStats> statistics;  // null when the table keeps none
  };

  // Makes the interface of the instance at `index` of groupInfo().tables. REQUIRES: its change log is mounted or can
  // be.
  static std::unique_ptr<TableFront> make(std::size_t index,
                                          Pivot::Ptr<Asic::OrderedTableInterface> const& framework);
  virtual ~TableFront() = default;

  Asic::TableInfo const& info() const { return info_; }
  // The table of a unit, or null.
  virtual Pivot::Ptr<Table> table(Asic::UnitId unit) const = 0;
  // The table of a unit, made if there is none; emptied with `reset`. A helper is of the instance's base; with null a
  // table keeps what it has, and a new one gets the base itself. REQUIRES: its configuration is mounted or can be.
  virtual Pivot::Ptr<Table> makeTable(Asic::UnitId unit, bool reset,
                                      Pivot::Ptr<Pivot::Node> const& helper = nullptr) = 0;
  // Clears a unit that is in the store and has no table; refused when it cannot be mounted. The interface's own
  // operation.
  virtual Pivot::Status reconcileUnit(Asic::UnitId unit) = 0;
  // Ascending.
  virtual std::vector<Asic::UnitId> units() const = 0;

  virtual Pivot::Ptr<Asic::OrderedSwTableStatus> const& status() const = 0;
  // Looks whether something is pending now, after a change that no operation of a client has made.
  virtual void lookAtPending() = 0;
  // The last version of the log, and the one up to which it was cleaned.
  virtual Asic::LogVersion written() const = 0;
  virtual Asic::LogVersion cleaned() const = 0;
  // The records that stand in the log.
  virtual std::uint32_t logRecords() const = 0;

  // What was found lost since the last call: "change log" or "unit N".
  virtual std::vector<Pivot::String> takeLosses() = 0;

  // Publishes once more what the row is about. Refused: it cannot be now, or nothing of it stands.
  virtual Pivot::Status publishAgain(LoamTunnelNiLib::InLifFailureRow const& row,
                                     Pivot::Ptr<Asic::NeededEntry const> const& needed) = 0;

  // REQUIRES: the unit has a table.
  virtual UnitStatus unitStatus(Asic::UnitId unit) const = 0;

  // What a sweep would do to a unit. REQUIRES for these: the unit has a table.
  virtual std::unique_ptr<SweepWalk> sweepWalk(Asic::UnitId unit) const = 0;
  SweepPlan sweepPlan(Asic::UnitId unit) const;
  virtual bool marking(Asic::UnitId unit) const = 0;
  // Begins to mark what is written to the unit.
  virtual void mark(Asic::UnitId unit) = 0;

 protected:
  explicit TableFront(Asic::TableInfo const& info) : info_(info) {}

 private:
  Asic::TableInfo const& info_;
};

}  // namespace LoamAgent
