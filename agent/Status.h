// How an agent stands: how far each table and unit is, what the resolver waits for, and how long operations take.
#pragma once

#include <cstdint>
#include <vector>

#include "Asic/GroupResolver.h"
#include "Asic/LogVersion.h"
#include "Asic/SwTableLatency.h"
#include "agent/Host.h"

namespace LoamAgent {

struct TableStatus {
  Asic::LogVersion written;
  Asic::LogVersion announced;
  Asic::LogVersion reported;  // by the hardware, as its writer reports
  Asic::LogVersion cleaned;
  std::uint32_t logRecords = 0;
  bool pending = false;
  struct Unit : TableFront::UnitStatus {
    Host::UnitLife life;
  };
  std::vector<Unit> units;
};

struct AgentStatus {
  std::vector<TableStatus> tables;  // by their places
  std::vector<Host::Behind> behind;
  std::vector<UnitPlace> unserved;
  std::size_t queued = 0;
  bool suspended = false;
  std::vector<Asic::GroupResolver::Head> heads;  // the operations that stand first in their queues
  std::uint64_t relaunchGeneration = 0;
};

AgentStatus statusOf(Host& host);

// How long the operations of a unit take on their way to the hardware.
struct UnitLatency {
  UnitPlace place;
  Asic::SwTableLatency::Figures behind;
  Asic::SwTableLatency::Figures head;
  Asic::SwTableLatency::Figures hardware;
};
// Of each unit that has a table, in order.
std::vector<UnitLatency> latencies(Host const& host);

}  // namespace LoamAgent
