// The entry log of InLif23.
#include "LoamInLif/EntryLogOf-defs.h"
#include "LoamInLif/InLifNEntryLog.h"

namespace LoamInLif {

template class EntryLogOf<InLif23>;

LOAM_INLIF_DEFINE_ENTRY_LOG(InLif23, inLif23)

}  // namespace LoamInLif
