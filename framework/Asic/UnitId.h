// The number of one hardware unit.
#pragma once

#include <cstdint>

namespace Asic {

using UnitId = std::uint16_t;

// Units are 0 to kMostUnit; the number above stands for none.
inline constexpr UnitId kNoUnit = 0xFFFF;
inline constexpr UnitId kMostUnit = kNoUnit - 1;

}  // namespace Asic
