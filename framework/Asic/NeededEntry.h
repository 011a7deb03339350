// The versions of other tables that must be in the hardware before a record may be applied.
//
// Made for each commit, filled by the entry's resources and its dependency, handed to the log and from there
// to the group. Few tables are ever named, so they lie in the object itself, in order of table id. A set that
// was handed on is const.
#pragma once

#include <fmt/format.h>

#include <boost/container/small_vector.hpp>
#include <cstddef>

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
    for (TableVersion const& version : other) add(version);
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
  TableVersion const* begin() const { return versions_.data(); }
  TableVersion const* end() const { return versions_.data() + versions_.size(); }

 private:
  boost::container::small_vector<TableVersion, 3> versions_;
};

}  // namespace Asic

// Prints as {14:08:0401@7, 14:08:0402@3}.
template <>
struct fmt::formatter<Asic::NeededEntry> {
  constexpr auto parse(format_parse_context& context) { return context.begin(); }
  auto format(Asic::NeededEntry const& needed, format_context& context) const {
    auto out = fmt::format_to(context.out(), "{{");
    char const* separator = "";
    for (Asic::TableVersion const& version : needed) {
      out = fmt::format_to(out, "{}{}", separator, version);
      separator = ", ";
    }
    return fmt::format_to(out, "}}");
  }
};

// A null set prints as {}.
template <>
struct fmt::formatter<Pivot::Ptr<Asic::NeededEntry const>> {
  constexpr auto parse(format_parse_context& context) { return context.begin(); }
  auto format(Pivot::Ptr<Asic::NeededEntry const> const& needed, format_context& context) const {
    return needed ? fmt::format_to(context.out(), "{}", *needed) : fmt::format_to(context.out(), "{{}}");
  }
};
