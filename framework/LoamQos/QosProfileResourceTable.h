// The resource table of QoS profiles: each interface that asks has a profile number of its own, 1 to 255.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "LoamQos/QosProfileEntryKey.h"

namespace LoamQos {

struct QosProfileTraits {
  using Key = QosProfileEntryKey;
  using Value = std::uint8_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 8, .allocated = true, .maxValue = 255, .maxKeys = 255, .noValue = 0};
  static constexpr char const* kShoalName = "LoamQos::QosProfileResourceTableShoal";
};

}  // namespace LoamQos

BURSAR_DECLARE_TABLE(LoamQos, QosProfileResourceTable, QosProfileTraits)
