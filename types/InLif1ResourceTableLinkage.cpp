// The linkage module of InLif1.
#include "types/LinkageRecords.h"

LOAM_INLIF_DEFINE_LINKAGE_MODULE(InLif1, inLif1, 23be09ba56905395)
