// The table of InLif1.
#include "LoamInLif/InLifNSwTable-defs.h"

namespace LoamInLif {
LOAM_INLIF_DEFINE_SW_TABLE(InLif1, inLif1)
}  // namespace LoamInLif
