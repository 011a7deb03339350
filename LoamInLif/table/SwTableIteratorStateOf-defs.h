// The step of SwTableIteratorStateOf; included where an instance is instantiated, and nowhere else.
#pragma once

#include "LoamInLif/table/SwTableIteratorStateOf.h"
#include "OrderedTable/IterStateAccessor-defs.h"

namespace LoamInLif {

template <class I>
LoamTunnelNiLib::InLifModelEntry SwTableIteratorStateOf<I>::maybeUpdateCurrentEntry() {
  using IterState = typename I::SwTableIteratorState;
  return Asic::IterStateAccessor<IterState, typename I::SwTable>(static_cast<IterState*>(this))
      .maybeUpdateCurrentEntry();
}

}  // namespace LoamInLif
