// The number of one hardware unit.
#pragma once

#include <cstdint>

namespace Asic {

using UnitId = std::uint16_t;

}  // namespace Asic
