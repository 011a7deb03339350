// The agent that the cases of one process share: one world with a table of each instance, so that every case
// has a change log of its own, and the reports of the hardware played between the rounds. Made on first use,
// gone with the program.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "LoamInLif/InLifNEntryLog.h"
#include "support/AgentWorld.h"
#include "support/ResourceKeys.h"

namespace bench {

using EntryKey = LoamTunnelNiLib::InLifModelEntryKey;
using Entry = LoamTunnelNiLib::InLifModelEntry;

class Agent {
 public:
  static TestSupport::AgentWorld& world();
  // What a case holds of the world; called before the world ends.
  static void atEnd(std::function<void()> release);
  // Ends the world before the libraries end.
  static void end();

  template <class I>
  static Pivot::Ptr<typename I::SwTable> table(Asic::UnitId unit) {
    return world().interface<I>()->makeSwTable(unit, nullptr, false);
  }
};

// Nanoseconds since an earlier stamp; a stamp costs some 20 ns, so one covers many operations.
class Stopwatch {
 public:
  double lap() {
    auto const now = std::chrono::steady_clock::now();
    double const ns = std::chrono::duration<double, std::nano>(now - last_).count();
    last_ = now;
    return ns;
  }

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace bench
