// The agent around the client: the framework on a store of its own, with its resource tables. One per
// process; it takes the part of the agent's loop, and that of the writer of the hardware, which in a real
// system is another process.
#pragma once

#include <Asic/OrderedTableInterface.h>
#include <Bursar/GroupSurroundings.h>
#include <LoamInLif/Instance.h>
#include <LoamTunnelNiLib/ResourceTables.h>
#include <Shoal/ShoalMap.h>

#include <memory>
#include <string>

class Agent {
 public:
  explicit Agent(std::string const& storeDirectory);
  ~Agent();

  Pivot::Ptr<Asic::OrderedTableInterface> const& orderedTables() const { return orderedTables_; }
  // Lets the resolver commit what may commit.
  void resolve();
  // The hardware takes all that the table has announced.
  void takeAll(Asic::SwTableId tableId);

 private:
  Pivot::String groupName() const;
  Asic::GroupInterface& group() const;

  Shoal::ShoalMap<Asic::TableVersion> reports_;
  Pivot::Ptr<Asic::OrderedTableInterface> orderedTables_;
  std::unique_ptr<BursarResourceTable::GroupSurroundings> surroundings_;
  LoamTunnelNiLib::ResourceTables resourceTables_;
};
