// The figures of `inlif top` as lines for a screen.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/json/Json.h"
#include "tools/support/Text.h"

namespace Inlif {

// So many lines at most; what does not fit is left out: the units with the least to do, the rarest causes.
std::vector<Line> topLines(std::string const& store, Json const& figures, std::size_t rows);

}  // namespace Inlif
