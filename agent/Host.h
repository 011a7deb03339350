// The agent's inside: framework, resource tables and the three interfaces, made in the right order and taken
// down whole; and the turns by which they live.
//
// An agent owns one host. Its loop waits until the host's descriptor is readable, its deadline has come, or a client says
// something, and gives it a turn (Loop.h is such a loop); clients reach tables through it. The store is asked before
// anything is made, so that a store in use, a missing permission or a full disk is a refusal and not an accident in the
// middle of a start.
//
// A host is opened once, and closed by close() or its end, not within its turn. What a client still holds of it then, a table or a handle, may be
// let go of at any time; whoever calls one, or the host itself, before open() or after close(), or from another thread than
// the one that opened it, ends the process with a line that says so.
#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Asic/GroupInterface.h"
#include "Bursar/GroupSurroundings.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Tables.h"
#include "LoamTunnelNiLib/ResourceTables.h"
#include "Shoal/ChangeWatch.h"
#include "Statehub/EntityManager.h"
#include "agent/Backlog.h"
#include "agent/FailureWatch.h"
#include "agent/TableFront.h"

namespace LoamAgent {

// A unit of one of the tables.
struct UnitPlace {
  std::size_t table = 0;  // its place (LoamInLif/Tables.h), which is what `table` is everywhere here
  Asic::UnitId unit = 0;
  auto operator<=>(UnitPlace const&) const = default;

  std::string const& tableName() const { return LoamInLif::groupInfo().tables[table].name; }
};

class Host {
 public:
  using Clock = std::chrono::steady_clock;

  // What was found lost, when it was mounted or later.
  struct Loss {
    std::string table;
    std::string what;  // "change log", or "unit N"
  };

  // What a restart has meant for a unit in this life.
  struct UnitLife {
    std::uint32_t restored = 0;  // entries that its table came up with
    std::uint64_t swept = 0;     // entries that sweeps have removed
  };
  // What a sweep has done to a unit, in entries.
  struct Swept {
    UnitPlace place;
    std::uint32_t removed;
    std::uint32_t kept;
  };
  // How far the writer of the hardware is behind with a table.
  struct Behind {
    std::size_t table;
    std::uint64_t versions;  // announced and not reported
    Clock::duration age;     // since the oldest of them was announced
  };
  // What the commits of one turn may take, so that clients and reports are not kept waiting;
  // looked at after every 32 of them. A remove-all is one commit, whatever its unit holds.
  static constexpr std::chrono::microseconds kTurnBudget{500};

  Host();
  ~Host();

  // How an agent is started.
  struct Options {
    // The directory of the store; empty: the one that is set (Shoal/StoreRoot.h).
    std::string store;
    // A table that is made does not begin to mark: the clients will not write again what they want.
    bool suppressInitialMark = false;
  };
  // Claims the store and makes everything but tables. Refused, with nothing left behind: the store is in use, cannot be made
  // or mounted, or this process has an agent already; or the host was opened before.
  Pivot::Status open(Options const& options);
  Pivot::Status open() { return open(Options()); }
  // Between an open() that was not refused and close(). Every other call is made only in between.
  bool isOpen() const { return group_ != nullptr; }
  // Frees everything. Returns one line for each class that has more live objects than before open(): what clients still
  // hold. Nothing to do, and no lines, when the host is not open.
  std::vector<std::string> close();

  // A table instance by its place (LoamInLif/Tables.h).
  TableFront& front(std::size_t table) { return *frontAt(table); }
  TableFront const& front(std::size_t table) const { return *frontAt(table); }
  // Makes the table of a unit, or finds it, and empties it with `reset`. Refused: there is no such table or unit, or the store
  // cannot hold the unit now.
  Pivot::Status makeTable(std::size_t table, Asic::UnitId unit, bool reset,
                          Pivot::Ptr<Pivot::Node> const& helper = nullptr);
  // The same by its class, with the client's hooks: makeTable<LoamInLif::InLif1>(3, table, helper). Without a helper the
  // hooks do nothing. Who calls it includes LoamInLif/InLifNSwTable.h.
  template <class I>
  Pivot::Status makeTable(Asic::UnitId unit, Pivot::Ptr<typename I::SwTable>& table,
                          Pivot::Ptr<typename I::SwTableHelperBase> const& helper = nullptr,
                          bool reset = false) {
    constexpr std::size_t place = LoamInLif::placeOf<I>;
    Pivot::Status status = makeTable(place, unit, reset, helper);
    if (status.isOk()) table = boost::static_pointer_cast<typename I::SwTable>(front(place).table(unit));
    return status;
  }
  // All zero for a unit that has no table.
  UnitLife life(UnitPlace const& place) const;
  // Units that are in the store and have no table: their entries are in the hardware, and nobody has claimed
  // their resources. In order of table and unit.
  std::vector<UnitPlace> unserved() const;
  // Clears an unserved unit. Refused: it cannot be mounted, and stays unserved.
  Pivot::Status reconcileUnit(UnitPlace const& place);
  // Clears all that are left.
  void reconcile();
  // Sweeps every marked table and tells for each table what that did; then see freeUnclaimed().
  std::vector<Swept> sweep();
  // Lets the resource tables free what nobody has claimed, once the tables have been swept and no unit is
  // unserved any more; before that it does nothing. To be called when either may have become so.
  void freeUnclaimed();
  // The group of the three tables: its resolver, the announced versions and the reports.
  Asic::GroupInterface& group() {
    mustBeOpen("Host::group");
    return *group_;
  }
  // The front door of the framework: resource tables, and the interfaces of the instances.
  Asic::OrderedTableInterface& framework() {
    mustBeOpen("Host::framework");
    return *framework_;
  }
  // All resource tables, to be gone through; a single one comes from LoamInLif/Resources.h.
  LoamTunnelNiLib::ResourceTables& resources() { return resources_; }
  // What the hardware did not take; who wants to hear of it adds an observer.
  FailureWatch& failures() { return failures_; }
  FailureWatch const& failures() const { return failures_; }
  // Publishes once more what the hardware refused, under a version of its own that needs all that was published before
  // it. Refused: there is no room now, or nothing of it stands that could be published.
  Pivot::Status publishAgain(HardwareFailure const& failure);
  // Losses found since the last call.
  std::vector<Loss> takeLosses();
  // Times that the agent asked to be launched again since its store exists.
  std::uint64_t relaunchGeneration() const;

  // The tables that the writer of the hardware is behind with, in order.
  std::vector<Behind> behind() const;

  // Gives the descriptor to wait for: readable when a turn has something to do that nobody in this process has asked for.
  // The host keeps it. REQUIRES: signals that the agent takes by a descriptor are blocked already, since a thread is begun
  // that must not get them.
  Pivot::Status watch(int& descriptor);
  // When the next turn is due, if nothing comes before it.
  Clock::time_point nextDeadline() const;
  // One turn: passes on reports, lets the resolver commit for about the time given, lets the resource tables work.
  // Returns whether there is more to do at once. Fatal, looked at once a second: somebody deleted the lock of the
  // store, or the store; another agent may have begun.
  bool turn(std::chrono::microseconds budget = kTurnBudget);
  // Looks at each table instance for what a change of a resource has published.
  void lookAtPending();
  // Whether anything is still on its way to the hardware.
  bool pending() const;

 private:
  Pivot::Status makeAll(bool suppressInitialMark);
  void takeDown();
  void mustBeOpen(char const* call) const;
  TableFront* frontAt(std::size_t table) const;
  Pivot::Status mount(std::string const& path, char const* typeName, char const* attribute,
                      std::uint32_t maximum);
  Pivot::Status mountConfig(std::size_t table, Asic::UnitId unit);
  // Notes the units that have a configuration. Refused when they cannot be listed now.
  Pivot::Status takeUpUnits();

  std::map<std::string, std::int64_t> liveBefore_;
  Pivot::Ptr<VexSharedMem::EntityManager> store_;
  Pivot::Ptr<Asic::OrderedTableInterface> framework_;
  std::unique_ptr<BursarResourceTable::GroupSurroundings> surroundings_;
  LoamTunnelNiLib::ResourceTables resources_;
  std::array<std::unique_ptr<TableFront>, LoamInLif::kTables> fronts_;
  Pivot::Ptr<Asic::GroupInterface> group_;
  std::set<UnitPlace> inStore_;  // units that have a configuration: this process alone makes any
  std::map<UnitPlace, UnitLife> lives_;
  std::array<Backlog, LoamInLif::kTables> backlogs_;
  Shoal::ChangeWatch<Asic::TableVersion> reports_{LoamInLif::groupInfo().tableVersionPath};
  FailureWatch failures_;
  Clock::time_point lastTurn_;
  bool inTurn_ = false;
  bool wasOpened_ = false;
  bool mayFree_ = false;  // swept since the resource tables last freed what nobody has claimed
};

}  // namespace LoamAgent
