#include "LoamInLif/ResourceTableLinkageInstantiate.h"

namespace LoamInLif {

LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_INSTANTIATE_LINKAGE, InLif1, inLif1)

}  // namespace LoamInLif
