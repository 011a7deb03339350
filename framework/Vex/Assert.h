// Fatal assertions: a broken invariant ends the process with its text, in every build.
#pragma once

#include <string_view>

#include "Cobble/Export.h"
#include "Vex/FileName.h"
#include "Vex/Text.h"

namespace Vex {

// Writes "Assertion failed: <text>: <message>, <file>:<line>" to stderr (without ": <message>" when that is
// empty) and aborts.
[[noreturn]] LOAM_FRAMEWORK_EXPORT void assertionFailed(std::string_view text, std::string_view message,
                                                        std::string_view file, int line);

}  // namespace Vex

// VEX_ASSERT(condition, "text of the condition")
#define VEX_ASSERT(condition, text)                                                  \
  do {                                                                               \
    if (!(condition)) [[unlikely]]                                                   \
      ::Vex::assertionFailed((text), {}, ::Vex::Impl::fileName(__FILE__), __LINE__); \
  } while (false)

// VEX_ASSERT_MSG(condition, "text of the condition", "format {}", arguments...)
#define VEX_ASSERT_MSG(condition, text, ...)                                                                 \
  do {                                                                                                       \
    if (!(condition)) [[unlikely]]                                                                           \
      ::Vex::assertionFailed((text), ::fmt::format(__VA_ARGS__), ::Vex::Impl::fileName(__FILE__), __LINE__); \
  } while (false)
