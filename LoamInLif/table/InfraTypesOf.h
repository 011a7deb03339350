// The two helpers of an operation under way, per instance: the entry wrapper with the hooks of the client,
// and the ticket by which the operation stands in the queue of the group resolver. The real classes,
// InLif0EntryWrapper, InLif0ResolverEntry and so on, stand in InLifNInfraTypes.h. All on the agent's one
// thread.
#pragma once

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryFlags.h"
#include "Asic/ResolverEntry.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/table/EntryWrapperCore.h"
#include "Pivot/Node.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT EntryWrapperOf : public EntryWrapperCore {
 public:
  using EntryWrapperCore::EntryWrapperCore;

  // The operation goes to the log. A write gets its resolved fields first, so that the hook of the table's
  // helper sees the entry as it will stand; a remove is passed on unchanged.
  void finalizeOnSuccess(Pivot::Ptr<typename I::SwTable> const& swTable, bool isDeleted);
  // A resource has failed. The helper decides: true sends the entry to the log as it is, false fails the
  // operation.
  [[nodiscard]] bool finalizeOnFailure(Pivot::Ptr<typename I::SwTable> const& swTable, bool isDeleted);

 private:
  Pivot::Ptr<typename I::EntryWrapper> self();
};

template <class I>
class LOAM_INLIF_EXPORT ResolverEntryOf : public Asic::ResolverEntry {
 public:
  // `dependantEntryHandle` may be null; `swTable` outlives the entry and is not owned; `swTableEntry` is
  // never null, a remove-all has a wrapper too.
  ResolverEntryOf(Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependantEntryHandle,
                  Asic::EntryFlags flags, typename I::SwTable* swTable,
                  Pivot::Ptr<typename I::EntryWrapper> const& swTableEntry)
      : Asic::ResolverEntry(dependantEntryHandle, flags), swTable_(swTable), swTableEntry_(swTableEntry) {}

  typename I::SwTable* swTable() const { return swTable_; }
  Pivot::Ptr<typename I::EntryWrapper> const& swTableEntry() const { return swTableEntry_; }

  bool isResolved() override;
  void commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry) override;

 private:
  friend struct RecordOf<ResolverEntryOf>;

  typename I::SwTable* swTable_;
  Pivot::Ptr<typename I::EntryWrapper> swTableEntry_;
};

}  // namespace LoamInLif
