#include "LoamInLif/ResourceTableLinkageInstantiate.h"

namespace LoamInLif {

LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_INSTANTIATE_LINKAGE, InLif23, inLif23)

}  // namespace LoamInLif
