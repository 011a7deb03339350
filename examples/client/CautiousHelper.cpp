#include "CautiousHelper.h"

void CautiousHelper::finalizeOnSuccess(EntryWrapperPtr const& entry, bool isDelete, SwTablePtr const&) {
  if (isDelete) return;
  auto logEntry = entry->logEntry();
  logEntry.client[1] = stamp;
  entry->logEntryIs(logEntry);
}

bool CautiousHelper::finalizeOnFailure(EntryWrapperPtr const&, bool isDelete, SwTablePtr const&) {
  if (isDelete) return false;
  ++acceptedFailures_;
  return true;
}

bool CautiousHelper::finalizeOnResourceUpdate(EntryWrapperPtr const&, SwTablePtr const&, bool) {
  if (updatesFrozen_) ++refusedUpdates_;
  return !updatesFrozen_;
}
