// The modules of InLif23, and what its classes answer.
#include "types/InLifN-defs.h"

LOAM_INLIF_DEFINE_MODULES(InLif23, inLif23)
