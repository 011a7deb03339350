// Names that are passed over when they are unknown, and that somebody may have misspelt: a name is near another when
// one edit leads to it (a letter more, less or different, two neighbours exchanged), or when only case differs.
#pragma once

#include <string_view>

namespace Inlif {

bool isNear(std::string_view name, std::string_view known);

}  // namespace Inlif
