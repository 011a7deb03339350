// The classes of InLif1.
#include "LoamInLif/InLifN-defs.h"

LOAM_INLIF_INSTANTIATE(InLif1, inLif1)
