// The answer to the operation `walk`: the entries of one table and unit in the order of their keys, a line each,
// and their count. docs/json-protocol.md is the protocol. On the agent's one thread.
#pragma once

#include <memory>
#include <optional>

#include "agent/TableFront.h"
#include "tools/agent/operations/SteppedAnswer.h"

namespace Inlif {

// Begins at `from`, or at the first entry, and ends after `limit` entries.
std::unique_ptr<SteppedAnswer> walkAnswer(Asker asker, Pivot::Ptr<LoamAgent::TableFront::Table> const& table,
                                          std::optional<std::uint32_t> from, std::uint64_t limit);

}  // namespace Inlif
