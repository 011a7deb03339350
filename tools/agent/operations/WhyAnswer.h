// The answer to the operation `why`: what the waiting operations wait for, one line for each in the order of
// their queues, or the causes with their counts. docs/json-protocol.md is the protocol. On the agent's one
// thread.
#pragma once

#include <memory>

#include "agent/Host.h"
#include "tools/agent/operations/SteppedAnswer.h"

namespace Inlif {

// Reads the rest of the operation; null when something in it was refused. An operation that is queued and stays
// queued while its queue is gone through is told once; of what is queued later nothing is told. `host` outlives
// the answer.
std::unique_ptr<SteppedAnswer> whyAnswer(Asker asker, ObjectReader& in, LoamAgent::Host& host);

}  // namespace Inlif
