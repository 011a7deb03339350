// Bodies of EntryWrapperOf and ResolverEntryOf; included where an instance is instantiated, and nowhere else.
#pragma once

#include "Asic/EndOnException.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "Vex/Trace.h"

namespace LoamInLif {

template <class I>
Vex::TraceHandle const infraTypesTrace{I::swTableFacility};

template <class I>
Pivot::Ptr<typename I::EntryWrapper> EntryWrapperOf<I>::self() {
  return Pivot::Ptr<typename I::EntryWrapper>(static_cast<typename I::EntryWrapper*>(this));
}

// A hook may give the table another helper: the one that runs is held to its end.
template <class I>
void EntryWrapperOf<I>::finalizeOnSuccess(Pivot::Ptr<typename I::SwTable> const& swTable, bool isDeleted) {
  VEX_TRACE(infraTypesTrace<I>, 8, " key: {} isDeleted: {}", key(), isDeleted);
  if (!isDeleted) setResolvedFields();
  Asic::callHook(
      [&, helper = swTable->swTableHelper()] { helper->finalizeOnSuccess(self(), isDeleted, swTable); });
}

template <class I>
bool EntryWrapperOf<I>::finalizeOnFailure(Pivot::Ptr<typename I::SwTable> const& swTable, bool isDeleted) {
  VEX_TRACE(infraTypesTrace<I>, 8, " key: {} isDeleted: {}", key(), isDeleted);
  bool const retVal = Asic::callHook([&, helper = swTable->swTableHelper()] {
    return helper->finalizeOnFailure(self(), isDeleted, swTable);
  });
  VEX_TRACE(infraTypesTrace<I>, 3, " retVal: {}", retVal);
  return retVal;
}

template <class I>
bool ResolverEntryOf<I>::isResolved() {
  return swTable_->isResolverEntryResolved(
      Pivot::Ptr<typename I::ResolverEntry>(static_cast<typename I::ResolverEntry*>(this)));
}

template <class I>
void ResolverEntryOf<I>::commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry) {
  swTable_->commitEntry(resolvedEntry);
}

}  // namespace LoamInLif
