// Watches how full the change logs are. When the records that the writer of the hardware has not taken pass
// seven eighths of what a log may hold, the clients are told, once; and once more when they have fallen below
// a half. Between the two lies enough for a log that wavers at a mark to be silent. What a client writes at
// the limit is not lost: it waits for room (see the operation `why`).
#pragma once

#include <array>

#include "agent/Host.h"
#include "tools/agent/operations/Outlet.h"

namespace Inlif {

class LogHighWater {
 public:
  // Both outlive it.
  LogHighWater(LoamAgent::Host& host, Outlet& outlet) : host_(host), outlet_(outlet) {}

  // To be called in each turn of the agent.
  void turn();

 private:
  LoamAgent::Host& host_;
  Outlet& outlet_;
  std::array<bool, LoamInLif::kTables> high_{};
};

}  // namespace Inlif
