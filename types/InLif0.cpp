// The modules of InLif0, and what its classes answer.
#include "types/InLifN-defs.h"

LOAM_INLIF_DEFINE_MODULES(InLif0, inLif0)
