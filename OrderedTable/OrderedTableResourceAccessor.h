// The engine behind every resource linkage: what a linkage does with one entry (ask for its resource, tell
// how far it is), how it keeps account of the committed entries that use a resource key, and how it follows a
// change of a resource.
//
// A linkage forwards each of its operations to an accessor made on the spot over itself. The accessor is one
// pointer and keeps nothing. It runs on the agent's one thread: in writes and commits of the linkage's table,
// and in notifications of resource handles.
//
// What a linkage L supplies:
//   types    Key (of the resource), SwKey (of an entry), Entry, OldEntry, EntryWrapper, SwTable,
//            ResourceHandle, LocalUsageUpdateSm
//   names    className, without namespace
//   a kind   resourceKey(entry), resourceKeyFromEntry(entry), resourceHandle(entry),
//            resourceHandleIs(entry, handle), isNullKey(key)
//   account  entryUsageSm(key), entryUsageSmIs(handle), entryUsageSmDel(key), entryUsageSmFirst(),
//            entryUsageSmAfter(key, hint), entryUsageSmAhead(hint), WalkHint, takeDownUse(key, entry); of a
//            member also changeUnderWay, an attribute of the accessor's own
//   others   swTable(), resTblClient()
//
// Invariants of the account, kept by the operations named:
//   1. A resource key is held at the resource table once, from its first use by a committed entry to its
//      last (addResKeyMapping acknowledges the first, deleteResKeyMapping releases after the last).
//   2. The null key is never in the account (addResKeyMapping).
//   3. Between two operations each LocalUsageUpdateSm in the account has at least one user
//      (deleteResKeyMapping).
//   4. A subscriber or a client's hook that runs within an operation may change the account and drop
//      whoever it likes: each operation holds what it still needs, and each walk goes on by key.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "Asic/EntryState.h"
#include "Asic/NeededEntry.h"
#include "Asic/OrderedSwTable.h"
#include "Pivot/Node.h"
#include "Vex/Trace.h"

namespace Asic {

// Applies one operation to each linkage, in the order in which they are given.
template <class Operation, class... Linkages>
void runOnAllResourceLinkages(Operation&& operation, Linkages const&... linkages) {
  (operation(*linkages), ...);
}

// The same for those whose bit is set in `used`, the first linkage's being the lowest.
template <class Operation, class... Linkages>
void runOnUsedResourceLinkages(std::uint32_t used, Operation&& operation, Linkages const&... linkages) {
  if (used == 0) return;
  std::uint32_t bit = 1;
  auto const run = [&](auto const& linkage) {
    if ((used & bit) != 0) operation(*linkage);
    bit <<= 1;
  };
  (run(linkages), ...);
}

template <class ResourceLinkage>
class SwTableResourceAccessor {
 public:
  // ResourceLinkage may be const: then only the reading operations can be called.
  using Linkage = std::remove_const_t<ResourceLinkage>;
  using Key = typename Linkage::Key;
  using SwKey = typename Linkage::SwKey;
  using OldEntry = typename Linkage::OldEntry;
  using EntryWrapper = typename Linkage::EntryWrapper;
  using LocalUsageUpdateSm = typename Linkage::LocalUsageUpdateSm;
  using EntryPtr = Pivot::Ptr<EntryWrapper>;
  using ConstEntryPtr = Pivot::Ptr<EntryWrapper const>;

  explicit SwTableResourceAccessor(ResourceLinkage* linkage) : linkage_(linkage) {
    static_assert(sizeof(SwTableResourceAccessor) == sizeof(void*), "one pointer, and made for a call");
  }

  // One entry. A null entry, and one without a handle in this linkage, needs no resource.
  EntryState entryResolutionState(ConstEntryPtr const& entry) const;
  Pivot::Ptr<NeededEntry> getNeededEntrySet(ConstEntryPtr const& entry) const;

  // Asks the resource table for the entry's resource; an entry with the null key keeps the handle that it
  // has.
  void resolveEntry(EntryPtr const& entry) const;
  // Gives the entry the handle that the account holds for its key; without one it keeps the handle that it
  // has.
  void setResourceHandle(EntryPtr const& entry) const;

  // The account. `oldEntry` is what stood for the software key before.
  void updateLocalUsage(EntryPtr const& swEntry, OldEntry const& oldEntry, bool isDeleted) const;
  void restoreEntry(EntryPtr const& entry) const;
  // With `ack` the first use of a key is acknowledged to the resource table. The entry of a first use has
  // its handle.
  void addResKeyMapping(Key const& resKey, EntryPtr const& entry, bool ack) const;
  void deleteResKeyMapping(Key const& resKey, SwKey const& swKey,
                           Pivot::Ptr<OrderedSwTable::EntryHandle> const& entryHandle) const;

  // The resource of `sm` has changed: brings each of its users up to date and acknowledges once.
  void handleResourceChange(LocalUsageUpdateSm* sm) const;
  // The same for every key in the account, after a restart.
  void handleResourceChangeAtInit() const;

  static Vex::TraceHandle const& _defaultTraceHandle();

 private:
  // The file that the traces of the engine name.
  static constexpr std::string_view kFileName = "OrderedTable/OrderedTableResourceAccessor";

  void updateUsers(LocalUsageUpdateSm const& sm, Pivot::Ptr<typename Linkage::SwTable> const& swTable,
                   Pivot::Ptr<OrderedSwTable::EntryHandle const>& lastHandle) const;
  void prefetch(LocalUsageUpdateSm const& sm) const;

  ResourceLinkage* linkage_;
};

}  // namespace Asic
