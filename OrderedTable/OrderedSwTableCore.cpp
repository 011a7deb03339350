#include "OrderedTable/OrderedSwTableCore.h"

#include "Asic/OrderedSwTableSet.h"
#include "Asic/SwTableStats.h"
#include "Vex/Assert.h"
#include "Vex/System.h"

namespace Asic::OrderedSwTableCore {

EntryVersion versionAfter(EntryVersion const& currEntryVersion) {
  VEX_ASSERT(currEntryVersion.valid(), "currEntryVersion.valid()");
  return EntryVersion(MajorVersion(currEntryVersion.majorVersion().value() + 1), currEntryVersion.word());
}

void enqueue(OrderedSwTable const& swTable, GroupResolver& resolver,
             Pivot::Ptr<ResolverEntry> const& resolverEntry) {
  resolver.resolverQueueEnq(resolverEntry, &swTable);
  resolver.updateGenId();
}

void noteQueueMoved(OrderedSwTable& swTable, GroupResolver& resolver) {
  resolver.maybeUpdateSuspend();
  updatePending(swTable);
}

void updatePending(OrderedSwTable& swTable) {
  if (auto* const swTableSet = swTable.swTableSet()) swTableSet->maybeUpdatePendingHwWrites(&swTable);
}

void endCommit(OrderedSwTable& swTable, GroupResolver& resolver) {
  noteQueueMoved(swTable, resolver);
  swTable.stats()->lastCommitTimeIs(Vex::System::currentTimeUtc());
  swTable.stats()->commitCntInc(1);
}

bool hasFailed(DependencyEntryHandle const& dependency) {
  switch (dependency.entryState()) {
    case EntryState::entryStateRejected:
    case EntryState::entryStateFailed:
    case EntryState::entryStateResolveFailed:
      return true;
    default:
      return false;
  }
}

void recordLatency(OrderedSwTable const& swTable, OrderedSwTable::EntryHandle const& handle,
                   std::uint64_t& reportedAt) {
  LatencyStamp const committed = handle.latencyStamp();
  if (committed.weight() == 0) return;
  if (reportedAt == 0) reportedAt = SwTableLatency::now();
  swTable.latency().record(SwTableLatency::Stage::hardware, committed, reportedAt);
}

void endHandle(Pivot::Ptr<OrderedSwTable::EntryHandle> const& handle, EntryState state) {
  Pivot::Ptr<OrderedSwTable::EntryHandle> const kept = handle;
  kept->entryStateIs(state);
  if (!kept->responseHandler()) return;
  OrderedSwTable::ResponseHandler const handler = kept->responseHandler();
  handler(kept);
}

}  // namespace Asic::OrderedSwTableCore
