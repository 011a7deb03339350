// The resource table of VLAN edit profiles: each set of edits has a profile number of its own, 1 to 255.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "LoamTunnelNiLib/IveResourceTableEntryKey.h"

namespace LoamTunnelNiLib {

struct IveResourceTableTraits {
  using Key = IveResourceTableEntryKey;
  using Value = std::uint8_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 8, .allocated = true, .maxValue = 255, .maxKeys = 255, .noValue = 0};
  static constexpr char const* kShoalName = "LoamTunnelNiLib::IveResourceTableResourceTableShoal";
};

}  // namespace LoamTunnelNiLib

BURSAR_DECLARE_TABLE(LoamTunnelNiLib, IveResourceTableResourceTable, IveResourceTableTraits)
