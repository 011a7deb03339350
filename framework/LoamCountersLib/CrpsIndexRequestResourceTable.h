// The resource tables of counter indexes: each request has a 32-bit index of its own, from 1 on. Three tables
// are of this class, told apart by their names: one for each place where frames are counted.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "LoamCountersLib/CrpsIndexRequestEntryKey.h"

namespace LoamCountersLib {

struct CrpsIndexRequestTraits {
  using Key = CrpsIndexRequestEntryKey;
  using Value = std::uint32_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 32, .allocated = true, .maxValue = 0xFFFFFFFE, .maxKeys = 1u << 20, .noValue = 0xFFFFFFFF};
  static constexpr char const* kShoalName = "LoamCountersLib::CrpsIndexRequestResourceTableShoal";
};

}  // namespace LoamCountersLib

BURSAR_DECLARE_TABLE(LoamCountersLib, CrpsIndexRequestResourceTable, CrpsIndexRequestTraits)
