// The entry log of InLif0.
#include "LoamInLif/EntryLogOf-defs.h"
#include "LoamInLif/InLifNEntryLog.h"

namespace LoamInLif {

template class EntryLogOf<InLif0>;

LOAM_INLIF_DEFINE_ENTRY_LOG(InLif0, inLif0)

}  // namespace LoamInLif
