// What the resource tables need to know of the group around them, and whom they tell of a change: the one
// narrow interface between resources and ordered tables. Its implementation outlives every table that was
// made with it. On the agent's one thread.
#pragma once

#include "Asic/NeededEntry.h"
#include "Asic/TableVersion.h"
#include "Cobble/Export.h"
#include "Pivot/Node.h"

namespace BursarResourceTable {

class LOAM_FRAMEWORK_EXPORT Surroundings {
 public:
  virtual ~Surroundings();

  // Whether the writer of the hardware has taken that version of that table, in this life or an earlier one.
  // Version 0 always is.
  virtual bool isTaken(Asic::TableVersion const& version) const = 0;
  // The last version of every table of the group. When all of them are taken, nothing that was published
  // before this call is still on its way. Never null.
  virtual Pivot::Ptr<Asic::NeededEntry const> published() const = 0;
  // A resource is no longer pending: heads of the resolver's queues that wait are to be asked again. It only
  // notes this. Not for other changes, since no head waits for them.
  virtual void resourceSettled() = 0;
};

}  // namespace BursarResourceTable
