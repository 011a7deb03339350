// The operation `latency`: how long the operations of each unit take on their way to the hardware.
#pragma once

#include "tools/agent/Host.h"

namespace Inlif {

// One object for each unit of each table; docs/json-protocol.md has the members.
Json latencyReport(Host& host);

}  // namespace Inlif
