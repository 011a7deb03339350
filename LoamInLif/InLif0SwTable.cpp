// The table of InLif0.
#include "LoamInLif/InLifNSwTable-defs.h"

namespace LoamInLif {
LOAM_INLIF_DEFINE_SW_TABLE(InLif0, inLif0)
}  // namespace LoamInLif
