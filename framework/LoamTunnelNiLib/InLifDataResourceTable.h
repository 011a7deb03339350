// The resource table of the data of ingress logical interfaces: each key has a 64-bit index of its own, from
// 1 on.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
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

BURSAR_DECLARE_TABLE(LoamTunnelNiLib, InLifDataResourceTable, InLifDataTraits)
