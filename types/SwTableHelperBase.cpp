// The record of the helper bases and their modules.
#include "types/FamilyRecords.h"

namespace LoamInLif {

#define LOAM_INLIF_HELPER_BASE(Instance, instance) \
  LOAM_INLIF_MAKER(Instance, SwTableHelperBase)    \
  LOAM_INLIF_TYPE_DATA(Instance##SwTableHelperBase)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_HELPER_BASE)

template <class I>
struct RecordOf<SwTableHelperBaseOf<I>> : Record<typename I::SwTableHelperBase, Pivot::Node> {
  using T = SwTableHelperBaseOf<I>;
  static constexpr std::array attributes{
      operation<&T::finalizeOnSuccess, "entry", "isDelete", "swTable">(130, "finalizeOnSuccess"),
      operation<&T::finalizeOnFailure, "entry", "isDelete", "swTable">(131, "finalizeOnFailure"),
      operation<&T::finalizeOnResourceUpdate, "entry", "swTable", "someResourceHasFailed">(
          132, "finalizeOnResourceUpdate")};
  static constexpr auto constructor = constructedBy<makerOf<typename I::SwTableHelperBase>>();
};

}  // namespace LoamInLif

#define LOAM_INLIF_DEFINE_MODULE(Instance, Unit, hash)        \
  PIVOT_DEFINE_MODULE(_##Instance##Unit##_##hash##_vexModule, \
                      LoamInLif::RecordOf<LoamInLif::SwTableHelperBaseOf<LoamInLif::Instance>>)
LOAM_INLIF_HELPER_BASE_MODULES(LOAM_INLIF_DEFINE_MODULE)
