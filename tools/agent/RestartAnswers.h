// The long answers around a restart: what a sweep would do, what a reconciliation would clear, and the reconciliation
// itself. Each goes through units, and through the entries of a unit, in steps. docs/json-protocol.md is the protocol.
// On the agent's one thread.
#pragma once

#include <memory>

#include "tools/agent/Host.h"
#include "tools/agent/RestartClients.h"
#include "tools/agent/SteppedAnswer.h"

namespace Inlif {

// The members `table` and `unit` of whatever is told of a unit.
Json placeJson(Host::UnitPlace const& place);

// `host` and `clients` outlive the answers.
std::unique_ptr<SteppedAnswer> sweepPlanAnswer(SteppedAnswer::Asker asker, Host& host,
                                               RestartClients const& clients);
std::unique_ptr<SteppedAnswer> reconcilePlanAnswer(SteppedAnswer::Asker asker, Host& host,
                                                   RestartClients const& clients);
// Clears the units that nobody has made, one in a step. REQUIRES: each known client has said `unitsMade`; when that
// is not so any more, because one has come, the units that are left fail.
std::unique_ptr<SteppedAnswer> reconcileAnswer(SteppedAnswer::Asker asker, Host& host,
                                               RestartClients const& clients);

}  // namespace Inlif
