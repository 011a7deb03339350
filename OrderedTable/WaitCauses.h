// What a queued operation waits for, as the engine of its table tells it without asking anybody anew. The
// operations before it in its queue hold it back in any case; what stands here is its own.
#pragma once

#include <cstdint>

#include "Pivot/Types.h"

namespace Asic {

struct WaitCauses {
  // Why there was no room for it when it was last asked; empty for none. Known of the head of a queue alone.
  Pivot::String room;
  // The operation that it depends on is still unresolved.
  bool dependency = false;
  // Bit n: the resource of the n-th linkage, from 0 in linkage order, is still unresolved.
  std::uint32_t resources = 0;

  bool any() const { return !room.empty() || dependency || resources != 0; }
};

}  // namespace Asic
