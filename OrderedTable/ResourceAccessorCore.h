// The part of the resource engine that needs to know neither linkage nor key: what the state of a resource
// means for an entry, and which versions of other tables come with a resource. Called by
// SwTableResourceAccessor on the agent's thread.
#pragma once

#include <string_view>

#include "Asic/EntryState.h"
#include "Asic/NeededEntry.h"
#include "Bursar/ResourceHandle.h"
#include "Pivot/Node.h"
#include "Vex/Trace.h"

namespace Asic::ResourceAccessorCore {

// The file that trace lines of the engine name as their origin, wherever its text lies.
inline constexpr std::string_view kFileName = "OrderedTable/OrderedTableResourceAccessor";

// How far an entry is with one resource: entryStateDone when it has it or needs none (null handle),
// entryStateUnresolved while it has to wait, entryStateResolveFailed when it cannot have it. A state that no
// resource shows ends the process.
[[nodiscard]] EntryState entryResolutionState(BursarResourceTable::ResourceHandle const* handle);

// A new set with the versions that the resource needs, empty for a null handle. Never null and never shared.
[[nodiscard]] Pivot::Ptr<NeededEntry> neededEntryCopy(BursarResourceTable::ResourceHandle const* handle,
                                                      Vex::TraceHandle const& trace);

}  // namespace Asic::ResourceAccessorCore
