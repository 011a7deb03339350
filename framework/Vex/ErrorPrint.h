// Lines on the standard error output. What cannot be written, because a file system is full or a reader has gone,
// is lost; a line is never a reason for its process to end.
#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <iterator>
#include <utility>

namespace Vex {

/// Formats and writes in one call of the system. Any thread.
template <class... Args>
void errorPrint(fmt::format_string<Args...> format, Args&&... args) {
  fmt::memory_buffer text;
  fmt::format_to(std::back_inserter(text), format, std::forward<Args>(args)...);
  [[maybe_unused]] std::size_t const written = std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace Vex
