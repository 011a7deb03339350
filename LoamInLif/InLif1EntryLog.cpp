// The entry log of InLif1.
#include "LoamInLif/EntryLogOf-defs.h"
#include "LoamInLif/InLifNEntryLog.h"

namespace LoamInLif {

template class EntryLogOf<InLif1>;

LOAM_INLIF_DEFINE_ENTRY_LOG(InLif1, inLif1)

}  // namespace LoamInLif
