// The agent's inside: framework, resource tables and the three interfaces, made in the right order and taken
// down whole; and the turns by which they live.
//
// An agent owns one host. Its loop waits until the host's descriptor is readable, its deadline has come, or a client says
// something, and gives it a turn; clients reach tables through it. The store is asked before anything is made, so that a
// store in use, a missing permission or a full disk is a refusal and not an accident in the middle of a start. On the
// agent's one thread.
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
  std::size_t table = 0;
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
    std::uint64_t swept = 0;
  };
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
  // What the commits of one turn may take, so that clients and reports are not kept waiting, whatever a commit takes.
  static constexpr std::chrono::microseconds kTurnBudget{500};

  Host();
  ~Host();

  // Claims the store and makes everything but tables. With `suppressInitialMark` a table that is made does not
  // begin to mark: the clients will not write again what they want. REQUIRES: the root of the store is set.
  Pivot::Status open(bool suppressInitialMark);
  // Frees everything. Returns one line for each class that has more live objects than before open().
  std::vector<std::string> close();

  TableFront& front(std::size_t table) { return *fronts_[table]; }
  TableFront const& front(std::size_t table) const { return *fronts_[table]; }
  // Makes the table of a unit after the store has said that it can be mounted.
  Pivot::Status makeTable(std::size_t table, Asic::UnitId unit, bool reset);
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
  Asic::GroupInterface& group() { return *group_; }
  Asic::OrderedTableInterface& framework() { return *framework_; }
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
  // The host keeps it. REQUIRES: signals that the agent takes are blocked already, since a thread is begun that must not
  // get them.
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
  bool mayFree_ = false;  // swept since the resource tables last freed what nobody has claimed
};

}  // namespace LoamAgent
