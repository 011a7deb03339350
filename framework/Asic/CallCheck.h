// Who may call what belongs to a group: the thread that made the group, until its take-down.
//
// The resolver of a group has the one object, and so every table and log of the group knows it. Each door of a client
// asks it first. A call from another thread would race with the agent's, one after the take-down would find a store that is
// closed: both would end the process later and elsewhere. Here they end it with what was called. It costs one comparison.
#pragma once

#include <pthread.h>

#include "Cobble/Export.h"

namespace Asic {

class OrderedSwTable;

class LOAM_FRAMEWORK_EXPORT CallCheck {
 public:
  // The caller's thread is the one.
  CallCheck();

  // Ends the process unless the call may be. `call` names it; `table` is what it was made on, null for the group.
  void check(char const* call, OrderedSwTable const* table = nullptr) const {
    if (isTakenDown_ || pthread_equal(thread_, pthread_self()) == 0) [[unlikely]]
      refuse(call, table);
  }
  void takenDown() { isTakenDown_ = true; }
  bool isTakenDown() const { return isTakenDown_; }

 private:
  [[noreturn]] void refuse(char const* call, OrderedSwTable const* table) const;

  pthread_t const thread_;
  int const threadNumber_;  // as the system's tools show it
  bool isTakenDown_ = false;
};

}  // namespace Asic
