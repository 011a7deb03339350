// The end of a process whose invariant broke.
#include "Vex/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Vex {

void assertionFailed(std::string_view text, std::string_view message, std::string_view file, int line) {
  fmt::print(stderr, "Assertion failed: {}{}{}, {}:{}\n", text, message.empty() ? "" : ": ", message, file,
             line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vex
