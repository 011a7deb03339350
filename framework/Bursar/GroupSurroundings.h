// The surroundings of the resource tables of an agent: its groups, as the front door of the framework knows
// them. The agent makes one before its resource tables and drops it after them. On the agent's one thread.
#pragma once

#include "Asic/OrderedTableInterface.h"
#include "Bursar/Surroundings.h"
#include "Cobble/Export.h"

namespace BursarResourceTable {

class LOAM_FRAMEWORK_EXPORT GroupSurroundings final : public Surroundings {
 public:
  // Groups may come later. REQUIRES: the interface outlives this object; it owns resource tables, so nothing
  // is counted here.
  explicit GroupSurroundings(Asic::OrderedTableInterface& orderedTables) : orderedTables_(orderedTables) {}

  // A table of a group that does not exist yet has taken nothing.
  bool isTaken(Asic::TableVersion const& version) const override;
  Pivot::Ptr<Asic::NeededEntry const> published() const override;
  void resourceSettled() override;

 private:
  Asic::OrderedTableInterface& orderedTables_;
};

}  // namespace BursarResourceTable
