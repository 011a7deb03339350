// The table module of InLif1.
#include "types/SwTableRecords.h"

LOAM_INLIF_DEFINE_SW_TABLE_MODULE(InLif1, 3bfd1ff2f83eb2a5)
