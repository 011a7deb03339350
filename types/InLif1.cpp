// The modules of InLif1, and what its classes answer.
#include "types/InLifN-defs.h"

LOAM_INLIF_DEFINE_MODULES(InLif1, inLif1)
