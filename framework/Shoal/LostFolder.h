// The folder below the root where files go that a new one replaced, because they were damaged or another
// build had made them: for people, who may look at them or delete them; the store never reads them. It is
// bounded, since the root usually lies in memory: of each path the newest file stays; older ones stay while
// the path has at most kLostOfPath, and all of them together take at most an eighth of the file system.
#pragma once

#include <string>

#include "Pivot/Status.h"

namespace Shoal {

inline constexpr std::size_t kLostOfPath = 3;

// Moves a file out of the staging folder: `name` there, once the collection at `path` (empty: whatever its
// header says). Then takes away what is beyond the bound.
Pivot::Status keepAside(int stagingFolder, std::string const& name, std::string path);

}  // namespace Shoal
