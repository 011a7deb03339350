// The generic engine of an ordered software table: what a table does with its state, written once for all
// tables.
//
// A table of type T forwards each of its operations to an accessor made on the spot over itself, and passes
// its linkages (the ties to the resource tables) as trailing arguments, always in linkage order. The accessor
// is one pointer and keeps nothing. It runs on the agent's one thread, in the calls of clients (write,
// remove, read), of the group resolver (isResolverEntryResolved, commitEntry), of the framework
// (tableStatusVersion, sweep) and of the linkages (updateEntry).
//
// What T supplies, beside the operations of Asic::OrderedSwTable:
//   types        Key, Entry, OldEntry, ConfigRecord, EntryHandle, EntryWrapper, ResolverEntry,
//                SwTableIteratorState; OldEntry and EntryWrapper tell by usedResources which linkages they concern
//   collections  transientAddEntry, transientRemoveEntry, transientVersionForKey, transientRemoveAllVersion,
//                entryHandleInLog, markedKey, inMarkingState, with the accessors of an attribute
//   restart      restoreFindings (a RestoreFindings<Key> or null), hasDefaultHooks
//   no room      setAside (a SetAside), and the type of it
//   neighbours   entryLog(), groupResolver(), swTableHelper(), configMap() (the map of committed records or
//                null), traceFacility, the name of the class that its traces carry
//
// Invariants, kept by the operations named:
//   1. A key is in at most one of the two transient maps (entryWriteGeneric, entryRemoveGeneric).
//   2. A key of a transient map has a row in transientVersionForKey with the version of that wrapper's
//      handle (the same two; checkSupersededWrite and checkSupersededRemove take both away together).
//   3. transientRemoveAllVersion is the number of remove-alls in the resolver's queue less one, all ones
//      for none (entryRemoveAllGeneric counts up, countDownRemoveAll counts down, also for one that fails).
//   4. Operations commit in the order in which they were accepted; none replaces an earlier one in the queue.
//   5. Each accepted operation ends: its handle reaches done or failed, and its handler runs once.
//   6. A commit finds room: isResolverEntryResolved reserves it, and what is published outside of the queue leaves
//      it alone (updateEntry, delAllEntries).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryVersion.h"
#include "Asic/GroupResolver.h"
#include "Asic/LogVersion.h"
#include "Asic/NeededEntry.h"
#include "Asic/OrderedSwTable.h"
#include "Asic/ResolverEntry.h"
#include "OrderedTable/WaitCauses.h"
#include "Pivot/Node.h"
#include "Vex/Trace.h"

namespace Asic {

template <class T>
class OrderedSwTableAccessor {
 public:
  // T may be const: then only the reading operations can be called.
  using Table = std::remove_const_t<T>;
  using Key = typename Table::Key;
  using Entry = typename Table::Entry;
  using OldEntry = typename Table::OldEntry;
  using ConfigRecord = typename Table::ConfigRecord;
  using EntryHandle = typename Table::EntryHandle;
  using EntryWrapper = typename Table::EntryWrapper;
  using ResolverEntry = typename Table::ResolverEntry;
  using SwTableIteratorState = typename Table::SwTableIteratorState;
  using ResponseHandler = OrderedSwTable::ResponseHandler;
  using Dependency = Pivot::Ptr<DependencyEntryHandle const>;

  explicit OrderedSwTableAccessor(T* swTable) : swTable_(swTable) {
    static_assert(sizeof(OrderedSwTableAccessor) == sizeof(void*), "one pointer, and made for a call");
    static_assert(std::is_trivially_copyable_v<OrderedSwTableAccessor>);
  }

  // Write and remove. They never fail: the outcome reaches the client through the handle. A null dependency
  // means none. The handler may be empty.
  template <class... Args>
  Pivot::Ptr<EntryHandle> entryWriteGeneric(Key const& key, Entry const& entry, Dependency const& dependency,
                                            ResponseHandler const& handler, Args const&... linkages) const;
  Pivot::Ptr<EntryHandle> entryRemoveGeneric(Key const& key, Dependency const& dependency,
                                             ResponseHandler const& handler) const;
  void entryRemoveAllGeneric(Dependency const& dependency, ResponseHandler const& handler) const;

  // Empties the unit in the log with one table delete record, or sets that aside when there is no room. With
  // releaseResources each live entry gives up its use of its resource keys. A null entryHandle is allowed, a null
  // neededEntry too. Returns whether a record was written: a unit without any record gets none, and entryHandle
  // stays unchanged then. REQUIRES, with an entryHandle: room was reserved.
  template <class... Args>
  bool delAllEntries(bool releaseResources, Pivot::Ptr<NeededEntry> const& neededEntry,
                     Pivot::Ptr<EntryHandle> entryHandle, Args const&... linkages) const;

  // The resources of one wrapper.
  template <class... Args>
  void setRsrcPtrs(Pivot::Ptr<EntryWrapper> const& entry, bool refresh, Args const&... linkages) const;
  template <class... Args>
  Pivot::Ptr<NeededEntry> getNeededEntrySet(Pivot::Ptr<EntryWrapper const> const& entry,
                                            Args const&... linkages) const;
  // The needed entries of all linkages given, merged; an empty set for none.
  template <class... Args>
  Pivot::Ptr<NeededEntry> resAccessorGetNeededEntrySet(Pivot::Ptr<EntryWrapper const> const& entry,
                                                       Args const&... linkages) const;

  // Resolution: is anything waited for, and did every resource succeed? Both walks end at the first hit.
  template <class... Args>
  bool isResolverEntryResolved(Pivot::Ptr<ResolverEntry> const& resolverEntry, Args const&... linkages) const;
  void lookAhead(ResolverEntry const& resolverEntry) const;
  template <class Linkage, class... Rest>
  bool resAccessorCheckResolved(Pivot::Ptr<EntryWrapper> const& entry, Linkage const& linkage,
                                Rest const&... rest) const;
  bool resAccessorCheckResolved(Pivot::Ptr<EntryWrapper> const&) const { return true; }
  template <class Linkage, class... Rest>
  bool checkResolveSuccess(Pivot::Ptr<EntryWrapper> const& entry, Linkage const& linkage,
                           Rest const&... rest) const;
  bool checkResolveSuccess(Pivot::Ptr<EntryWrapper> const&) const { return true; }

  // What keeps an operation of the queue from committing, from what the last question left behind; asks for
  // nothing.
  template <class... Args>
  WaitCauses waitCauses(ResolverEntry const& resolverEntry, Args const&... linkages) const;

  // Commit of a resolved operation, update of a committed entry, acknowledgement by the hardware.
  template <class... Args>
  void commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry, Args const&... linkages) const;
  template <class... Args>
  Pivot::Ptr<OrderedSwTable::EntryHandle const> updateEntry(Key const& key, Args const&... linkages) const;
  // Does what was set aside, as far as there is room now.
  template <class... Args>
  void redoSetAside(Args const&... linkages) const;
  // Within restoreEntries: whether updateEntry would find nothing to do for the key, since its entry came back
  // as its resources are and no hook is to be asked. Then it need not be called; standingHandle gives what it
  // would return.
  bool updateIsIdle(Key const& key) const;
  // The same of all keys at once; false when somebody wants to read the trace of each.
  bool updatesAreIdle() const;
  // A handle that names the version of the committed entry; null for a key without one.
  Pivot::Ptr<OrderedSwTable::EntryHandle const> standingHandle(Key const& key) const;
  // A wrapper around the committed entry of the key, with the given handle or, when that is null, a new one
  // that is stored there.
  template <class... Args>
  Pivot::Ptr<EntryWrapper> entryWrapperFromConfig(Key const& key, bool refreshRsrcPtrs,
                                                  Pivot::Ptr<EntryHandle>& entryHandle,
                                                  Args const&... linkages) const;
  void tableStatusVersion(LogVersion tableVersion) const;

  // Reads of the merged view; entryFromConfig reads what is committed only. An absent key gives a default
  // entry.
  Entry entryReadGeneric(Key const& key) const;
  bool entryHas(Key const& key) const;
  Entry entryFromConfig(Key const& key) const;
  std::uint32_t entrys() const;
  Pivot::Ptr<SwTableIteratorState> initIterState() const;
  Pivot::Ptr<SwTableIteratorState> initIterStateFromKey(Key const& key) const;

  // Restart: takes the committed entries of the unit up again, and removes what nobody wrote again. sweep
  // returns the number of entries that it removed.
  template <class... Args>
  void restoreEntries(Args const&... linkages) const;
  std::uint32_t sweep() const;

  // The trace handle of the class that the engine serves.
  static Vex::TraceHandle const& _defaultTraceHandle() { return traceHandle_; }

 private:
  struct Operation;
  // An entry that the walk of a restore has read and not restored yet.
  struct ReadEntry {
    Key key;
    LogVersion version;
    Pivot::Ptr<EntryWrapper> entry;
    bool fetching = false;  // what a resource of it is looked up in is on its way
  };
  static constexpr std::size_t kEntriesAhead = 8;

  EntryVersion newEntryVersion(Key const& key) const;
  template <class... Args>
  void requestResources(Pivot::Ptr<EntryWrapper> const& entry, Args const&... linkages) const;
  Pivot::Ptr<EntryHandle> newEntryHandle(EntryVersion const& version, Key const& key,
                                         ResponseHandler const& handler) const;
  bool hasRoom(ResolverEntry const& resolverEntry, Key const* newKey) const;
  std::string roomRefusal() const;
  char const* comesFirst() const;
  template <class... Args>
  bool updateNow(Key const& key, Pivot::Ptr<EntryHandle>& entryHandle, Args const&... linkages) const;
  Pivot::Ptr<EntryHandle> setUpdateAside(Key const& key, Pivot::Ptr<EntryHandle> const& given,
                                         std::string_view why) const;
  void setClearAside(typename Table::SetAside::Clear const& clear, std::string_view why) const;
  void retrySetAside() const;
  void enqueue(Pivot::Ptr<Asic::ResolverEntry> const& resolverEntry) const;
  void noteQueueMoved() const;
  void updatePending() const;

  template <class... Args>
  void commitWrite(Operation const& op, Args const&... linkages) const;
  template <class... Args>
  bool finalizeWrite(Operation const& op, Args const&... linkages) const;
  template <class... Args>
  void commitRemove(Operation const& op, Args const&... linkages) const;
  template <class... Args>
  void commitTableDelete(Operation const& op, Args const&... linkages) const;
  template <class... Args>
  void updateUsage(Pivot::Ptr<EntryWrapper> const& entry, OldEntry const& previous, bool isDeleted,
                   Args const&... linkages) const;
  static bool hasFailed(EntryState state) {
    return state == EntryState::entryStateRejected || state == EntryState::entryStateFailed ||
           state == EntryState::entryStateResolveFailed;
  }
  void failForDependency(Operation const& op) const;
  void logHandle(Operation const& op) const;
  void checkSupersededWrite(Operation const& op) const;
  void checkSupersededRemove(Operation const& op) const;
  void countDownRemoveAll() const;
  // Presence and resource keys of the committed entry: all that the linkages want of it.
  OldEntry oldEntry(Key const& key) const;
  template <class... Args>
  Pivot::Ptr<EntryWrapper> entryWrapper(Key const& key, Entry const& committed, bool refreshRsrcPtrs,
                                        Pivot::Ptr<EntryHandle>& entryHandle, Args const&... linkages) const;
  // Its two steps: a wrapper without resources, with a handle that is not null; and all that it lacks.
  Pivot::Ptr<EntryWrapper> bareWrapper(Key const& key, Entry const& committed,
                                       Pivot::Ptr<EntryHandle> const& entryHandle) const;
  template <class... Args>
  void fetchResources(Pivot::Ptr<EntryWrapper> const& entry, bool refreshRsrcPtrs,
                      Args const&... linkages) const;
  std::optional<LogVersion> standingVersion(Key const& key) const;
  ConfigRecord const* committedRecord(Key const& key) const;
  template <class Use>
  void forEachCommitted(Use use) const;

  // The version of the first operation on a key with nothing in flight, and of operations without a key.
  static constexpr EntryVersion kFirstVersion{MajorVersion(0), 0};
  static constexpr char const* kFindsRoom =
      "a commit finds room, which was reserved when it was found resolved";
  // The file that the traces of the engine name, in whichever of its files they stand.
  static constexpr char const* kFileName = "OrderedTable/OrderedSwTableAccessor";
  static inline Vex::TraceHandle const traceHandle_{Table::traceFacility};

  T* swTable_;
};

}  // namespace Asic
