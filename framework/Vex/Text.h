// One fmt formatter for every key and value type of the libraries above.
//
// A type takes part by declaring `static constexpr bool kFormatsAsText = true;` and a `text()` that returns
// the string a trace line shows. The text is built only when a line is printed, so a key that is never traced
// costs nothing.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <string>
#include <string_view>

namespace BursarResourceTable {

template <class T>
concept FormatsAsText = T::kFormatsAsText && requires(T const& value) {
  { value.text() } -> std::convertible_to<std::string>;
};

}  // namespace BursarResourceTable

// Prints `text()`; accepts the format options of a string (width, fill, alignment).
template <BursarResourceTable::FormatsAsText T>
struct fmt::formatter<T, char> : fmt::formatter<std::string_view, char> {
  template <class Context>
  auto format(T const& value, Context& context) const {
    return fmt::formatter<std::string_view, char>::format(value.text(), context);
  }
};
