// Where a walk over a collection stands. A hint only: a walk is continued by the key that it delivered last,
// and any hint, also a fresh one, gives the same answer. It spares the lookup of that key while the
// collection has not changed.
#pragma once

#include <cstdint>

namespace Shoal {

class IterHint {
 private:
  friend class ShoalMapBase;
  std::uint64_t changes_ = 0;  // state of the collection for which the rest holds; 0 = none
  std::uint32_t slot_ = 0;     // of the record delivered last
  std::uint32_t bucket_ = 0;
};

}  // namespace Shoal
