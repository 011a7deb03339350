// The linkage module of InLif0.
#include "types/LinkageRecords.h"

LOAM_INLIF_DEFINE_LINKAGE_MODULE(InLif0, inLif0, 5e663a67bc32cb3)
