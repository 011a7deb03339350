// The agent's inside: framework, resource tables and the three interfaces, made in the right order and taken
// down whole.
//
// The event loop owns one host and gives it a turn after whatever has happened; operations reach tables
// through it. The store is asked before anything is made, so that a store in use, a missing permission or a
// full disk is a refusal and not an accident in the middle of a start. On the agent's one thread.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Asic/GroupInterface.h"
#include "Bursar/GroupSurroundings.h"
#include "LoamTunnelNiLib/ResourceTables.h"
#include "Statehub/EntityManager.h"
#include "tools/agent/TableFront.h"

namespace Inlif {

class Host {
 public:
  // What was found lost at a mount, in the order in which it was found.
  struct Loss {
    std::string table;
    std::string what;  // "change log", or "unit N"
  };

  Host();
  ~Host();

  // Claims the store and makes everything but tables.
  Pivot::Status open();
  // Frees everything. Returns one line for each class that has more live objects than before open().
  std::vector<std::string> close();

  TableFront& front(std::size_t table) { return *fronts_[table]; }
  TableFront const& front(std::size_t table) const { return *fronts_[table]; }
  // Makes the table of a unit after the store has said that it can be mounted.
  Pivot::Status makeTable(std::size_t table, Asic::UnitId unit, bool reset);
  Asic::GroupInterface& group() { return *group_; }
  Asic::OrderedTableInterface& framework() { return *framework_; }
  LoamTunnelNiLib::ResourceTables& resources() { return resources_; }
  // Losses found since the last call.
  std::vector<Loss> lossesTake() { return std::exchange(losses_, {}); }
  // Times that the agent asked to be launched again since its store exists.
  std::uint64_t relaunchGeneration() const;

  // One turn: passes on reports, lets the resolver commit, lets the resource tables work. Returns whether
  // there is more to do at once.
  bool turn();
  // Whether anything is still on its way to the hardware, and a line that says what.
  bool pending() const;
  std::string pendingText() const;

 private:
  Pivot::Status mount(std::string const& path, char const* typeName, char const* attribute,
                      std::uint32_t maximum);
  Pivot::Status mountConfig(std::size_t table, Asic::UnitId unit);

  std::map<std::string, std::int64_t> liveBefore_;
  Pivot::Ptr<VexSharedMem::EntityManager> store_;
  Pivot::Ptr<Asic::OrderedTableInterface> framework_;
  std::unique_ptr<BursarResourceTable::GroupSurroundings> surroundings_;
  LoamTunnelNiLib::ResourceTables resources_;
  std::array<std::unique_ptr<TableFront>, kTables> fronts_;
  Pivot::Ptr<Asic::GroupInterface> group_;
  std::vector<Loss> losses_;
};

}  // namespace Inlif
