#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"

namespace LoamTunnelNiLib {

InLifModelSwTableIteratorState::~InLifModelSwTableIteratorState() = default;

}  // namespace LoamTunnelNiLib
