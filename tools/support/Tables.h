// The three tables as the commands name them: by place in the family's group, by name, and by the paths below the root
// set when they are used.
#pragma once

#include <string_view>
#include <vector>

#include "LoamInLif/Tables.h"

namespace Inlif {

using Asic::TableInfo;
using LoamInLif::kTables;

inline std::vector<TableInfo> const& tables() {
  return LoamInLif::groupInfo().tables;
}

// The place of a table by its name, or a refusal that lists the names.
Pivot::Status tableIndex(std::string_view name, std::size_t& index);
// The place of a table by its id; kTables when it is none of them.
inline std::size_t tableIndex(Asic::SwTableId id) {
  return LoamInLif::groupInfo().indexOf(id);
}

// The shared collections of the group.
inline std::string const& announcedPath() {
  return LoamInLif::groupInfo().announcedPath;
}
inline std::string const& neededPath() {
  return LoamInLif::groupInfo().neededPath;
}
inline std::string const& tableVersionPath() {
  return LoamInLif::groupInfo().tableVersionPath;
}

}  // namespace Inlif
