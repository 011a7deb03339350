// The resource table of the data of ingress logical interfaces: each key has a 64-bit index of its own, from
// 1 on.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "Cobble/Export.h"
#include "LoamTunnelNiLib/InLifDataEntryKey.h"

namespace LoamTunnelNiLib {

struct InLifDataTraits {
  using Key = InLifDataEntryKey;
  using Value = std::uint64_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 64, .allocated = true, .maxValue = ~std::uint64_t{0}, .maxKeys = 1u << 20, .noValue = 0};
  static constexpr char const* kShoalName = "LoamTunnelNiLib::InLifDataResourceTableShoal";
};

}  // namespace LoamTunnelNiLib

extern template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::InLifDataTraits>;

namespace LoamTunnelNiLib {

class LOAM_FRAMEWORK_EXPORT InLifDataResourceTable final
    : public BursarResourceTable::ResourceTableOf<InLifDataTraits> {
 public:
  using BursarResourceTable::ResourceTableOf<InLifDataTraits>::ResourceTableOf;
  ~InLifDataResourceTable() override;
  Pivot::TypeData typeData() const override;
};

}  // namespace LoamTunnelNiLib
