// The part of the table engine that needs to know neither the table's key nor its entry: the queue step that
// ends every accepted operation, the tail that ends every commit, the end of a handle. One copy serves all
// tables. Called by OrderedSwTableAccessor on the agent's one thread.
#pragma once

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryVersion.h"
#include "Asic/GroupResolver.h"
#include "Asic/OrderedSwTable.h"
#include "Asic/ResolverEntry.h"
#include "Pivot/Node.h"

namespace Asic::OrderedSwTableCore {

// The version that follows the newest one of a key that has an operation in flight.
[[nodiscard]] EntryVersion versionAfter(EntryVersion const& currEntryVersion);

// Puts an operation of the table into the group's queue and lets the resolver look at it.
void enqueue(OrderedSwTable const& swTable, GroupResolver& resolver,
             Pivot::Ptr<ResolverEntry> const& resolverEntry);

// After the queue or the log has moved: the resolver may rest, and the pending state is computed anew.
void noteQueueMoved(OrderedSwTable& swTable, GroupResolver& resolver);

// Brings the pending state of the instance into line; a table outside of any set has none.
void updatePending(OrderedSwTable& swTable);

// The common tail of a commit, failed or not.
void endCommit(OrderedSwTable& swTable, GroupResolver& resolver);

// Did the operation that another one depends on end without success?
[[nodiscard]] bool hasFailed(DependencyEntryHandle const& dependency);

// Counts how long the hardware took for an operation, if it is measured. `reportedAt` is the time of the report
// under way, read with the first operation that needs it; 0 before.
void recordLatency(OrderedSwTable const& swTable, OrderedSwTable::EntryHandle const& handle,
                   std::uint64_t& reportedAt);

// Moves a handle to its last state and calls its handler. The call works on a copy of the handler, so the
// handler may drop the handle or give it another handler; the handle keeps its own.
void endHandle(Pivot::Ptr<OrderedSwTable::EntryHandle> const& handle, EntryState state);

}  // namespace Asic::OrderedSwTableCore
