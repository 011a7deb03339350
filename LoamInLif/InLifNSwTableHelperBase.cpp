// The helper bases of the three instances: what a table does when its client hooks into nothing.
#include "LoamInLif/InLifNSwTableHelperBase.h"

#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNSwTable.h"

namespace LoamInLif {

template <class I>
void SwTableHelperBaseOf<I>::finalizeOnSuccess(EntryWrapperPtr const&, bool, SwTablePtr const&) {}

template <class I>
bool SwTableHelperBaseOf<I>::finalizeOnFailure(EntryWrapperPtr const&, bool, SwTablePtr const&) {
  return false;
}

template <class I>
bool SwTableHelperBaseOf<I>::finalizeOnResourceUpdate(EntryWrapperPtr const&, SwTablePtr const&, bool) {
  return true;
}

#define LOAM_INLIF_DEFINE_HELPER_BASE(Instance, instance)                                                \
  template class SwTableHelperBaseOf<Instance>;                                                          \
  Pivot::Ptr<Instance##SwTableHelperBase> Instance##SwTableHelperBase::Instance##SwTableHelperBaseIs() { \
    return Pivot::make<Instance##SwTableHelperBase>();                                                   \
  }                                                                                                      \
  Pivot::Ptr<Instance##SwTableHelperBase> instance##SwTableHelperBaseFactory() {                         \
    return Pivot::make<Instance##SwTableHelperBase>();                                                   \
  }
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DEFINE_HELPER_BASE)
#undef LOAM_INLIF_DEFINE_HELPER_BASE

}  // namespace LoamInLif
