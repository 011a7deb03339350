// How the agent stands, as the operations `status`, `latency` and `why` tell it; docs/json-protocol.md has the members.
#pragma once

#include "agent/Host.h"
#include "tools/json/Json.h"

namespace Inlif {

// How far each table and unit is, and what the resolver waits for.
Json statusAnswer(LoamAgent::Host& host);
// One object for each unit of each table: how long its operations take on their way to the hardware.
Json latencyAnswer(LoamAgent::Host const& host);
// How far the writer of the hardware is behind: an object for each table with versions that are announced and not reported.
Json behindJson(LoamAgent::Host const& host);
// What the tables still have on its way to the hardware, in one line.
std::string pendingText(LoamAgent::Host const& host);

}  // namespace Inlif
