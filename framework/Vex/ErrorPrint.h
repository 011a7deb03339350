// Lines of the process's errors that belong to no trace facility.
#pragma once

#include <functional>
#include <iterator>
#include <string_view>
#include <utility>

#include "Vex/ErrorLog.h"
#include "Vex/Text.h"

namespace Vex {

// Tells one error; the format is its kind. Any thread.
template <class... Args>
void printError(fmt::format_string<Args...> format, Args&&... args) {
  fmt::memory_buffer text;
  fmt::format_to(std::back_inserter(text), format, std::forward<Args>(args)...);
  std::string_view line(text.data(), text.size());
  while (line.ends_with('\n')) line.remove_suffix(1);
  fmt::string_view const kind = format;
  ErrorLog::tell(std::hash<std::string_view>()({kind.data(), kind.size()}), 1, {}, line);
}

}  // namespace Vex
