// The path of an inspection: where in a process something is found, from a root on through fields and members.
//
//   /InLif1/units/3/transientAddEntry/17/rsrcKeys
//
// A component is a root, a field by its name or number, or a member of a collection by its key. A key is given
// as it prints, or for a struct as a JSON object: such a component reaches to its last brace. A component with
// a slash of its own is put in double quotes, as a JSON text. "/" alone is all roots.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

// Levels that an answer may show below what was found.
inline constexpr unsigned kMostLevels = 64;

struct InspectPath {
  std::vector<std::string> components;

  static Pivot::Status parse(std::string_view text, InspectPath& path);
  // The path of the first `count` components.
  std::string head(std::size_t count) const;
};

// A component as it is written in a path: quoted when it has to be.
std::string pathComponent(std::string_view component);

}  // namespace Inlif
