// The versions of other tables that must be in the hardware before a record may be applied.
//
// Made for each commit, filled by the entry's resources and its dependency, handed to the log and from there
// to the group. Few tables are ever named, so they lie in the object itself, in order of table id. A set that
// was handed on is const.
#pragma once

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <span>
#include <string>

#include "Asic/TableVersion.h"
#include "Cobble/Slab.h"
#include "Pivot/Node.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT NeededEntry final : public Pivot::Node {
 public:
  COBBLE_SLAB_SHARED(NeededEntry, Cobble::SlabAllocationPattern::kPerOperation)

  Pivot::TypeData typeData() const override;

  // Of two versions of one table the higher stays. Version 0 adds nothing: there is nothing to wait for.
  void add(TableVersion const& version);
  void merge(NeededEntry const& other) {
    for (TableVersion const& version : other.versions()) add(version);
  }
  // A null set merges nothing.
  void merge(Pivot::Ptr<NeededEntry const> const& other) {
    if (other) merge(*other);
  }

  bool empty() const { return versions_.empty(); }
  std::size_t size() const { return versions_.size(); }
  // The version needed of a table; 0 when none is.
  LogVersion version(SwTableId tableId) const;
  // In order of table id, each with a version above 0.
  std::span<TableVersion const> versions() const { return {versions_.data(), versions_.size()}; }

 private:
  boost::container::small_vector<TableVersion, 3> versions_;
};

// As {14:08:0401@7, 14:08:0402@3}; a null set as {}.
LOAM_FRAMEWORK_EXPORT std::string textOf(NeededEntry const& needed);
LOAM_FRAMEWORK_EXPORT std::string textOf(Pivot::Ptr<NeededEntry const> const& needed);

}  // namespace Asic
