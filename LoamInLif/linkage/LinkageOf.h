// A linkage ties one software table to one resource table: it asks for the resources of entries, keeps
// account of the committed entries that use each resource key, follows changes of a resource into them, and
// gives a key back when its last user is gone. The real classes, InLif0InLifDataLinkage and so on, stand in
// InLifNResourceTableLinkage.h.
//
// The linkage is thin: the logic is Asic::SwTableResourceAccessor's, to which it forwards, and the account is
// LinkageCore's. It lives as long as its table, which owns it. All on the agent's one thread.
//
//   field id  attribute
//        130  swTable                     fixed at construction, not owned
//        131  resTblClient                fixed at construction
//   132..137  updateLocalUsage, entryResolutionState, resolveEntry, getNeededEntrySet, restoreEntry,
//             handleResourceChangeAtInit
//        138  entryUsageSm                resource key to LocalUsageUpdateSm, for each key in use; publishes
//   139..142  resourceKey, resourceKeyFromEntry, resourceHandle, setResourceHandle
#pragma once

#include <memory>

#include "Asic/EntryState.h"
#include "Asic/NeededEntry.h"
#include "LoamInLif/Kinds.h"
#include "LoamInLif/linkage/LinkageCore.h"
#include "LoamInLif/linkage/RestoredUses.h"
#include "LoamInLif/table/OldEntry.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"

namespace LoamInLif {

template <class I, class Kind>
class LocalUsageUpdateSmOf;

template <class I, class Kind>
class LOAM_INLIF_EXPORT LinkageOf : public LinkageCore {
 public:
  // The real class; it is complete wherever an operation is called.
  using Linkage = typename I::template Linkage<Kind>;
  using SwTable = typename I::SwTable;
  using EntryWrapper = typename I::EntryWrapper;
  using EntryPtr = Pivot::Ptr<EntryWrapper>;
  using ConstEntryPtr = Pivot::Ptr<EntryWrapper const>;
  using Key = typename Kind::Key;
  using SwKey = LoamTunnelNiLib::InLifModelEntryKey;
  using Entry = LoamTunnelNiLib::InLifModelEntry;
  using OldEntry = LoamInLif::OldEntry;
  using ResourceHandle = typename Kind::ResourceHandle;
  using ResourcePtr = Pivot::Ptr<ResourceHandle const>;
  using ClientInstance = typename Kind::ClientInstance;

  static constexpr char const* className = LinkageName<I, Kind>::name;
  static bool isNullKey(Key const& key) { return Kind::isNullKey(key); }

  // `swTable` owns the linkage and outlives it; `resTblClient` is a client of this linkage alone.
  LinkageOf(SwTable* swTable, Pivot::Ptr<ClientInstance> const& resTblClient);
  ~LinkageOf() override;

  SwTable* swTable() const { return swTable_; }
  Pivot::Ptr<ClientInstance> const& resTblClient() const { return resTblClient_; }

  // What SwTableResourceAccessor tells.
  void updateLocalUsage(EntryPtr const& swEntry, OldEntry const& oldEntry, bool isDeleted);
  void updateLocalUsage(EntryPtr const& swEntry, Entry const& oldEntry, bool isDeleted) {
    updateLocalUsage(swEntry, OldEntry(oldEntry), isDeleted);
  }
  Asic::EntryState entryResolutionState(ConstEntryPtr const& entry) const;
  void resolveEntry(EntryPtr const& entry);
  // Starts fetching what resolveEntry will look at; ClientInstance tells how.
  bool prefetchResource(ConstEntryPtr const& entry) const;
  void prefetchHandle(ConstEntryPtr const& entry) const;
  Pivot::Ptr<Asic::NeededEntry> getNeededEntrySet(ConstEntryPtr const& entry) const;
  void restoreEntry(EntryPtr const& entry);
  // Between these two, while the table's entries are walked, the uses of resources that are done are only taken
  // down; endRestore brings them into the account, all at once and in its order. It returns whether none of
  // these resources has changed on the way. beginRestore returns whether nobody follows the account step by
  // step, which would see each use when it is found.
  [[nodiscard]] bool beginRestore();
  [[nodiscard]] bool endRestore();
  // Forgets what was taken down, after a walk that has not come to its end.
  void abandonRestore() { restoredUses_.reset(); }
  // Whether the use was taken down for endRestore.
  bool takeDownUse(Key const& resKey, EntryPtr const& entry);
  void handleResourceChangeAtInit();
  void setResourceHandle(EntryPtr const& entry);

  // The key of this kind in a wrapper (the null key for a null wrapper) and in an entry.
  Key const& resourceKey(ConstEntryPtr const& entry) const {
    return entry ? entry->rsrcKeys().*Kind::keyField : Kind::nullKey();
  }
  Key const& resourceKeyFromEntry(Entry const& entry) const { return entry.rsrcKeys.*Kind::keyField; }
  Key const& resourceKeyFromEntry(OldEntry const& entry) const { return entry.rsrcKeys.*Kind::keyField; }
  // The wrapper's handle field of this kind; null for a null wrapper.
  ResourcePtr const& resourceHandle(ConstEntryPtr const& entry) const {
    static ResourcePtr const none;
    return entry ? entry->resourceHandles().*Kind::handleField : none;
  }
  void resourceHandleIs(EntryPtr const& entry, ResourcePtr const& handle) const {
    entry->resourceHandles().*Kind::handleField = handle;
  }

  // The account, whose members are of the nested class. That exists only with the real class, so what these return is
  // known where they are called.
  auto entryUsageSm(Key const& key) const { return typed(smFind(&key)); }
  // The object of the handle's key, made if there is none. Throws NullArgumentException for a null handle,
  // and ReinstantiatingException when the key's object has another handle.
  auto entryUsageSmIs(ResourcePtr const& resPtr) {
    if (auto sm = typed(smOf(resPtr.get()))) return sm;
    auto sm = Linkage::localUsageUpdateSmFactory(resPtr, static_cast<Linkage*>(this));
    smAdd(sm);
    return sm;
  }
  // The object that was there, or null; no release towards the resource table.
  auto entryUsageSmDel(Key const& key) { return typed(smDel(&key)); }
  // A walk by key that survives any change between two steps; null at the end.
  auto entryUsageSmFirst() const { return typed(smFirst()); }
  auto entryUsageSmFrom(Key const& key) const { return typed(smFrom(&key)); }
  auto entryUsageSmAfter(Key const& key) const { return typed(smAfter(&key)); }
  auto entryUsageSmAfter(Key const& key, WalkHint& hint) const { return typed(smAfter(&key, hint)); }
  // The object that this walk reaches some steps later, or null: for whoever wants to have it fetched meanwhile.
  auto entryUsageSmAhead(WalkHint const& hint) const {
    return static_cast<typename Linkage::LocalUsageUpdateSm const*>(smAhead(hint));
  }

 private:
  friend struct RecordOf<LinkageOf>;

  // Only objects of the nested class ever enter the account.
  static auto typed(Pivot::Ptr<Sm> sm) {
    using Member = typename Linkage::LocalUsageUpdateSm;
    return Pivot::Ptr<Member>(static_cast<Member*>(sm.detach()), false);
  }
  static ResourceKeyOps const& keyOps();

  SwTable* const swTable_;
  Pivot::Ptr<ClientInstance> const resTblClient_;
  // Set between beginRestore and endRestore, unless somebody follows the account step by step.
  std::unique_ptr<RestoredUses> restoredUses_;
};

}  // namespace LoamInLif
