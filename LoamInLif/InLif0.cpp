// The classes of InLif0.
#include "LoamInLif/InLifN-defs.h"

LOAM_INLIF_INSTANTIATE(InLif0, inLif0)
