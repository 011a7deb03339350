// What is answered around a restart: which clients there are; and, in steps through units and their entries, what a
// sweep would do, what a reconciliation would clear, and the reconciliation itself. docs/json-protocol.md is the
// protocol. On the agent's one thread.
#pragma once

#include <memory>

#include "agent/Restart.h"
#include "tools/agent/operations/SteppedAnswer.h"

namespace Inlif {

// The member `clients` of answers.
Json clientsJson(LoamAgent::RestartClients const& clients);

// `host` and `restart` outlive the answers.
std::unique_ptr<SteppedAnswer> sweepPlanAnswer(Asker asker, LoamAgent::Host& host,
                                               LoamAgent::Restart& restart);
std::unique_ptr<SteppedAnswer> reconcilePlanAnswer(Asker asker, LoamAgent::Host& host,
                                                   LoamAgent::Restart& restart);
// Clears the units that nobody has made, one in a step. REQUIRES: each known client has said `unitsMade`; when that
// is not so any more, because one has come, the units that are left fail.
std::unique_ptr<SteppedAnswer> reconcileAnswer(Asker asker, LoamAgent::Host& host,
                                               LoamAgent::Restart& restart);

}  // namespace Inlif
