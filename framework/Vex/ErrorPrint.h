// Lines on the standard error output. What cannot be written, because a file system is full, a reader has gone or
// does not read, is lost; a line is never a reason for its process to end or to stand still.
#pragma once

#include <fmt/format.h>

#include <iterator>
#include <utility>

#include "Vex/NoWait.h"

namespace Vex {

/// Formats and writes in one call of the system. Any thread.
template <class... Args>
void errorPrint(fmt::format_string<Args...> format, Args&&... args) {
  fmt::memory_buffer text;
  fmt::format_to(std::back_inserter(text), format, std::forward<Args>(args)...);
  errorWrite({text.data(), text.size()});
}

}  // namespace Vex
