// The resource table that says whether addresses are learned: 1 for yes, 0 for no. Nothing is allocated.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "LoamTunnelNiLib/LearnEnableEntryKey.h"

namespace LoamTunnelNiLib {

struct LearnEnableTraits {
  using Key = LearnEnableEntryKey;
  using Value = std::uint8_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 8, .allocated = false, .maxValue = 1, .maxKeys = 1u << 20, .noValue = 1};
  static constexpr char const* kShoalName = "LoamTunnelNiLib::LearnEnableResourceTableShoal";
  // Addresses are learned, on an interface as on a VLAN, until somebody steers it otherwise.
  static std::uint64_t computed(Key const&) noexcept { return 1; }
};

}  // namespace LoamTunnelNiLib

BURSAR_DECLARE_TABLE(LoamTunnelNiLib, LearnEnableResourceTable, LearnEnableTraits)
