// The figures of `inlif top` as lines for a screen.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/json/Json.h"

namespace Inlif {

struct ScreenSize {
  std::size_t columns = 80;
  std::size_t rows = SIZE_MAX;
};

// What does not fit is left out: the units with the least to do, the rarest causes, the ends of lines.
std::vector<std::string> topLines(std::string const& store, Json const& figures, ScreenSize const& size);

}  // namespace Inlif
