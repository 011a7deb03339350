// The clock of the agent.
#include "Vex/System.h"

#include <chrono>

namespace Vex {

double System::currentTimeUtc() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace Vex
