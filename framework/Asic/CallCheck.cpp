#include "Asic/CallCheck.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Asic/OrderedSwTable.h"
#include "Vex/Assert.h"

namespace Asic {

CallCheck::CallCheck() : thread_(pthread_self()), threadNumber_(gettid()) {}

void CallCheck::refuse(char const* call, OrderedSwTable const* table) const {
  std::string const what =
      table == nullptr ? call : fmt::format("{} of {} unit {}", call, table->name(), table->unitId());
  VEX_ASSERT_MSG(!isTakenDown_, "nothing is called after the take-down of its group", "{}", what);
  VEX_ASSERT_MSG(false, "tables are called on the thread that made their group", "{}: thread {}, expected {}",
                 what, gettid(), threadNumber_);
  std::abort();
}

}  // namespace Asic
