// A walk over the table of a unit, between two steps: the flags of the base and the key that comes next. The
// step itself is Asic::IterStateAccessor's. The real classes, InLif0SwTableIteratorState and so on, stand in
// InLifNSwTable.h. On the agent's one thread; the table outlives the walk.
#pragma once

#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT SwTableIteratorStateOf : public LoamTunnelNiLib::InLifModelSwTableIteratorState {
 public:
  // Field id 386: the key of the next entry to deliver, while the flag bookmarkValid is set.
  LoamTunnelNiLib::InLifModelEntryKey const& bookmarkKey() const { return bookmarkKey_; }
  void bookmarkKeyIs(LoamTunnelNiLib::InLifModelEntryKey const& key) { bookmarkKey_ = key; }

  LoamTunnelNiLib::InLifModelEntry maybeUpdateCurrentEntry() override;

 private:
  friend struct RecordOf<SwTableIteratorStateOf>;

  LoamTunnelNiLib::InLifModelEntryKey bookmarkKey_;
};

}  // namespace LoamInLif
