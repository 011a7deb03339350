#include "OrderedTable/ResourceAccessorCore.h"

#include "Vex/Assert.h"

namespace Asic::ResourceAccessorCore {

EntryState entryResolutionState(BursarResourceTable::ResourceHandle const* handle) {
  if (handle == nullptr) return EntryState::entryStateDone;
  switch (handle->entryState()) {
    case EntryState::entryStateDone:
      return EntryState::entryStateDone;
    case EntryState::entryStateUnresolved:
    case EntryState::entryStateInLog:
      return EntryState::entryStateUnresolved;
    case EntryState::entryStateRejected:
    case EntryState::entryStateFailed:
    case EntryState::entryStateResolveFailed:
      return EntryState::entryStateResolveFailed;
  }
  VEX_ASSERT(false, "false && \"Unhandled resHandle entryState\"");
  return EntryState::entryStateResolveFailed;
}

Pivot::Ptr<NeededEntry> neededEntryCopy(BursarResourceTable::ResourceHandle const* handle,
                                        Vex::TraceHandle const& trace) {
  auto needed = Pivot::make<NeededEntry>();
  if (handle == nullptr) return needed;
  for (TableVersion const& version : *handle->neededEntry()) {
    needed->add(version);
  }
  for (TableVersion const& version : *needed) {
    VEX_TRACE_AT(trace, 9, kFileName, "neededVersion: {}", version);
  }
  return needed;
}

}  // namespace Asic::ResourceAccessorCore
