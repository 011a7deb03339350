// The table of InLif23.
#include "LoamInLif/InLifNSwTable-defs.h"

namespace LoamInLif {
LOAM_INLIF_DEFINE_SW_TABLE(InLif23, inLif23)
}  // namespace LoamInLif
