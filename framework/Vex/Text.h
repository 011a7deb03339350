// One fmt formatter for every type of this system that has a text: versions, states, keys, values.
//
// A type takes part by a member `text()` beside `static constexpr bool kFormatsAsText = true;`, or by a function
// `textOf(value)` in its namespace. Its header needs nothing of the formatting library, which costs a client's
// build more than all of ours; who prints such a value includes this file, as Trace.h and Assert.h do. The text
// is made only when a line is printed, so a key that is never traced costs nothing. A type with a text is no range, which
// fmt/ranges.h would print too.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <string>
#include <string_view>

namespace Vex {

template <class T>
concept HasText = T::kFormatsAsText && requires(T const& value) {
  { value.text() } -> std::convertible_to<std::string>;
};
template <class T>
concept HasTextOf = requires(T const& value) {
  { textOf(value) } -> std::convertible_to<std::string>;
};

}  // namespace Vex

// Accepts the format options of a string (width, fill, alignment).
template <class T>
requires Vex::HasText<T> || Vex::HasTextOf<T>
struct fmt::formatter<T, char> : fmt::formatter<std::string_view, char> {
  template <class Context>
  auto format(T const& value, Context& context) const {
    if constexpr (Vex::HasText<T>) {
      return fmt::formatter<std::string_view, char>::format(value.text(), context);
    } else {
      return fmt::formatter<std::string_view, char>::format(textOf(value), context);
    }
  }
};
