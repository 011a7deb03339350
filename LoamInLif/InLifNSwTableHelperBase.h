// The helper bases of the three instances, with their factories. What they offer stands in
// SwTableHelperBaseOf.h.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/table/SwTableHelperBaseOf.h"

namespace LoamInLif {

#define LOAM_INLIF_DECLARE_HELPER_BASE(Instance, instance)                                     \
  extern template class SwTableHelperBaseOf<Instance>;                                         \
  class LOAM_INLIF_EXPORT Instance##SwTableHelperBase : public SwTableHelperBaseOf<Instance> { \
   public:                                                                                     \
    COBBLE_SLAB(Instance##SwTableHelperBase, Cobble::SlabAllocationPattern{0});                \
    Pivot::TypeData typeData() const override;                                                 \
    static Pivot::Ptr<Instance##SwTableHelperBase> Instance##SwTableHelperBaseIs();            \
  };                                                                                           \
  LOAM_INLIF_EXPORT Pivot::Ptr<Instance##SwTableHelperBase> instance##SwTableHelperBaseFactory();
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_HELPER_BASE)
#undef LOAM_INLIF_DECLARE_HELPER_BASE

}  // namespace LoamInLif
