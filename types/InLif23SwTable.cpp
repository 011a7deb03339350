// The table module of InLif23.
#include "types/SwTableRecords.h"

LOAM_INLIF_DEFINE_SW_TABLE_MODULE(InLif23, db433ef7bdceed07)
