// The linkage module of InLif23.
#include "types/LinkageRecords.h"

LOAM_INLIF_DEFINE_LINKAGE_MODULE(InLif23, inLif23, a49afed830f6dab)
