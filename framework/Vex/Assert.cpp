// The end of a process whose invariant broke.
#include "Vex/Assert.h"

#include <cstdlib>

#include "Vex/ErrorPrint.h"

namespace Vex {

void assertionFailed(std::string_view text, std::string_view message, std::string_view file, int line) {
  printError("Assertion failed: {}{}{}, {}:{}\n", text, message.empty() ? "" : ": ", message, file, line);
  std::abort();
}

}  // namespace Vex
