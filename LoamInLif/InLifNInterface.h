// The table interfaces of the three instances. What they do stands in InterfaceOf.h; they are made only
// through getIntf.
#pragma once

#include "Cobble/Slab.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/interface/InterfaceOf.h"

namespace LoamInLif {

#define LOAM_INLIF_DECLARE_INTERFACE(Instance, instance)                       \
  extern template class InterfaceOf<Instance>;                                 \
  class LOAM_INLIF_EXPORT Instance##Interface : public InterfaceOf<Instance> { \
   public:                                                                     \
    using InterfaceOf<Instance>::InterfaceOf;                                  \
    COBBLE_SLAB(Instance##Interface, Cobble::SlabAllocationPattern::kDefault)  \
    Pivot::TypeData typeData() const override;                                 \
  };
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_INTERFACE)
#undef LOAM_INLIF_DECLARE_INTERFACE

}  // namespace LoamInLif
