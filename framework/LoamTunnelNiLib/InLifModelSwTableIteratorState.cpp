#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"

#include <fmt/format.h>

namespace LoamTunnelNiLib {

InLifModelSwTableIteratorState::~InLifModelSwTableIteratorState() = default;

std::string InLifModelSwTableIteratorState::State::text() const {
  return fmt::format("0x{:02x}", bits_);
}

}  // namespace LoamTunnelNiLib
