// What the walk of a restore has found of the committed entries, for the updates that the linkages run after
// it. The engine of the table makes it in restoreEntries, and the table refers to it until the updates are
// through or something has changed. On the agent's one thread.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <functional>
#include <utility>

#include "Asic/LogVersion.h"
#include "Cobble/Slab.h"
#include "Vex/HashHelper.h"

namespace Asic {

template <class Key>
struct RestoreFindings {
  struct Hash {
    std::size_t operator()(Key const& key) const { return key.hash(Vex::HashHelper::hashSeed32()); }
  };

  // The entries that came back as their resources are, with their versions: no update of these has anything to
  // do.
  absl::flat_hash_map<Key, LogVersion, Hash, std::equal_to<Key>,
                      Cobble::BulkAllocator<std::pair<Key const, LogVersion>>>
      standing;
  // Whether these are all entries.
  bool complete = true;
};

}  // namespace Asic
