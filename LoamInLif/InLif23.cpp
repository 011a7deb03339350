// The classes of InLif23.
#include "LoamInLif/InLifN-defs.h"

LOAM_INLIF_INSTANTIATE(InLif23, inLif23)
