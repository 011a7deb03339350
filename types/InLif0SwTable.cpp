// The table module of InLif0.
#include "types/SwTableRecords.h"

LOAM_INLIF_DEFINE_SW_TABLE_MODULE(InLif0, cd5c64431dc64b53)
