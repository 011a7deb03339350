// The generic step of a walk over an ordered table: the pending writes first, then what is committed. The
// iterator state makes one of these for the length of a step; between two steps the walk holds a key and
// flags, and no iterator of any collection, so the table may change as it likes. On the agent's one thread.
//
//   phase          inAddColl  inTblCfg  leaves to
//   transient      set        clear     configuration; finished when a remove-all was pending at the start
//   configuration  clear      set       finished
//   finished       clear      clear     stays; each further step gives the default entry
//
// I1. At most one of inAddColl and inTblCfg is set.
// I2. The bookmark is the member that comes next, not the one just delivered. A bookmarked member that
//     has gone is no harm: both collections go on from the place of a key that they do not hold.
#pragma once

#include "Shoal/IterHint.h"
#include "Vex/Trace.h"

namespace Asic {

template <class IterState, class SwTable>
class IterStateAccessor {
 public:
  using Entry = typename SwTable::Entry;
  using Key = typename SwTable::Key;
  using ConfigMap = typename SwTable::ConfigMap;
  using ConfigRecord = typename SwTable::ConfigRecord;

  explicit IterStateAccessor(IterState* iterState) : iterState_(iterState) {
    static_assert(sizeof(IterStateAccessor) == sizeof(void*), "one pointer, and made for a call");
  }

  // The next entry, or the default entry with entryValid clear when there is none.
  Entry maybeUpdateCurrentEntry() const;

  static Vex::TraceHandle const& _defaultTraceHandle() { return traceHandle_; }

 private:
  bool stepTransient(SwTable const& swTable, Entry& entry) const;
  void endTransientPart() const;
  bool stepConfig(SwTable const& swTable, Entry& entry) const;
  ConfigRecord const* candidate(SwTable const& swTable, ConfigMap& config, Shoal::IterHint& hint) const;
  static bool isSkipped(SwTable const& swTable, ConfigRecord const& record);

  static constexpr char const* kFileName = "OrderedTable/OrderedSwTableAccessor";
  static inline Vex::TraceHandle const traceHandle_{"SwTableIter"};

  IterState* iterState_;
};

}  // namespace Asic
