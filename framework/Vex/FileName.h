// The name of a source file without its folders, for the origin that a trace or an assertion tells.
#pragma once

#include <string_view>

namespace Vex::Impl {

constexpr std::string_view fileName(std::string_view path) {
  std::size_t const slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace Vex::Impl
