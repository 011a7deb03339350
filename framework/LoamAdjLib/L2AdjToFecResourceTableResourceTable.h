// The resource table from layer 2 adjacencies to forwarding entries (FEC): each adjacency has a 32-bit id of
// its own, from 1 on.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "LoamAdjLib/L2AdjToFecResourceTableEntryKey.h"

namespace LoamAdjLib {

struct L2AdjToFecTraits {
  using Key = L2AdjToFecResourceTableEntryKey;
  using Value = std::uint32_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 32, .allocated = true, .maxValue = 0xFFFFFFFF, .maxKeys = 1u << 20, .noValue = 0};
  static constexpr char const* kShoalName = "LoamAdjLib::L2AdjToFecResourceTableResourceTableShoal";
};

}  // namespace LoamAdjLib

BURSAR_DECLARE_TABLE(LoamAdjLib, L2AdjToFecResourceTableResourceTable, L2AdjToFecTraits)
