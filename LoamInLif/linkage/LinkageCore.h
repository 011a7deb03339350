// What all linkages share, whatever their instance and kind: the account of the resource keys in use, and the
// subscription by which an account entry hears of a change of its resource. One copy serves the thirty
// classes; LinkageOf and LocalUsageUpdateSmOf put the types of a kind on top. All on the agent's one thread.
//
// The table owns the linkage, the linkage owns the objects in its account; these point back with a plain
// pointer.
//
// L1. An object is in the account under the key of its resource handle, which is never null.
// L2. `parent` is set exactly while the linkage may be reached through it: an object that is taken out of
//     the account, or whose linkage goes, has none from then on.
// L3. `dispatch` of the subscriber link is set exactly while the object is subscribed to its resource handle.
#pragma once

#include <cstdint>

#include "Bursar/ResourceHandle.h"
#include "LoamInLif/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"
#include "Pivot/Types.h"
#include "Vex/HashMap2018.h"

namespace LoamInLif {

class LinkageCore;
class RestoredUses;

// How the account treats the keys of a linkage class, whose type it does not know.
struct ResourceKeyOps {
  std::uint32_t (*hash)(void const* key, std::uint32_t seed);
  bool (*less)(void const* a, void const* b);
  bool (*same)(void const* a, void const* b);
  void const* (*keyOf)(BursarResourceTable::ResourceHandle const& handle);
  std::uint32_t seed;
};

// A resource key of any kind: where it lies, and how to treat it. Keys of one account only ever meet each
// other.
struct ResourceKeyRef {
  void const* key;
  ResourceKeyOps const* ops;

  std::uint32_t hash(std::uint32_t seed) const { return ops->hash(key, seed ^ ops->seed); }
  friend bool operator==(ResourceKeyRef const& a, ResourceKeyRef const& b) {
    return a.ops->same(a.key, b.key);
  }
  friend bool operator<(ResourceKeyRef const& a, ResourceKeyRef const& b) {
    return a.ops->less(a.key, b.key);
  }
};

// The account entry of one resource key; LocalUsageUpdateSmOf adds the set of its users and what a change
// does.
class LOAM_INLIF_EXPORT LocalUsageUpdateSmCore : public Pivot::Node, protected Pivot::Subscriber {
 public:
  // A zombie drops the notifications that reach it.
  virtual void vexDoZombieReactors(bool zombie);

  bool hasNotificationActive() const { return flagHas(kHasNotificationActive); }

  // The users are being brought up to date: a change that comes meanwhile is theirs who do it.
  bool changeUnderWay() const { return flagHas(kChangeUnderWay); }
  void changeUnderWayIs(bool underWay) { flagSet(kChangeUnderWay, underWay); }

 protected:
  using Handle = BursarResourceTable::ResourceHandle;

  // Subscribes to a handle that is not null.
  LocalUsageUpdateSmCore(Pivot::Ptr<Handle const> const& resPtr, LinkageCore* parent,
                         Dispatch dispatchOfClass);
  ~LocalUsageUpdateSmCore() override;

  void notificationActiveIs(bool active, Dispatch dispatchOfClass);
  // First step of a destructor: no notification reaches the object any more.
  void closeNotification();
  Handle const* resHandle() const { return resPtr_.get(); }
  LinkageCore* parentCore() const { return parent_; }

 private:
  friend class LinkageCore;

  // A node flag of the class's own, beside those of Pivot::Node.
  static constexpr std::uint32_t kChangeUnderWay = 0x00000001;

  void subscribe(Dispatch dispatchOfClass);
  void unsubscribe();

  Pivot::Ptr<Handle const> const resPtr_;
  LinkageCore* parent_;
};

class LOAM_INLIF_EXPORT LinkageCore : public Pivot::Node {
  // Fills the account at once when a table is restored.
  friend class RestoredUses;

  struct EntryUsageSmKeyFunktor {
    ResourceKeyRef operator()(Pivot::Ptr<LocalUsageUpdateSmCore> const& sm) const;
  };
  using HN_EntryUsageSm = Vex::Hm2018NI<Pivot::Ptr<LocalUsageUpdateSmCore>, EntryUsageSmKeyFunktor>;
  // The seed of the class comes with its ResourceKeyOps.
  using Account = Vex::HashMap2018<HN_EntryUsageSm, 0>;

 public:
  // Where a walk over the account stands: spares the search for its key while the account has not changed.
  class WalkHint {
    friend class LinkageCore;
    std::uint64_t changes_ = 0;  // of the account when the rest was set; 0 = never
    Account::const_iterator at_;
    Account::const_iterator ahead_;  // kStepsAhead further on, or the end
  };

  // Published with the resource key when an object enters or leaves the account.
  static constexpr Pivot::FieldId kFieldEntryUsageSm = 138;

  Pivot::Publisher* publisher() const override;

  // Takes every object out of the account, without a release towards the resource table. A subscriber may
  // add or remove members on the way; what it adds behind the walk stays.
  void entryUsageSmDelAll();
  // Number of resource keys in use.
  std::uint32_t entryUsageSms() const { return static_cast<std::uint32_t>(account_.size()); }

 protected:
  using Sm = LocalUsageUpdateSmCore;
  using Handle = BursarResourceTable::ResourceHandle;

  explicit LinkageCore(ResourceKeyOps const& keyOps) : keyOps_(keyOps) {}
  ~LinkageCore() override;

  Pivot::Ptr<Sm> smFind(void const* key) const;
  // The object of the handle's key, or null when that has none. Throws NullArgumentException for a null
  // handle and ReinstantiatingException when the object has another handle.
  Pivot::Ptr<Sm> smOf(Handle const* handle) const;
  // Takes in an object whose key has none, and publishes.
  void smAdd(Pivot::Ptr<Sm> const& sm);
  // The object that was there, without a subscription and without a parent, or null.
  Pivot::Ptr<Sm> smDel(void const* key);
  // A walk by key, safe against any change between two steps: the first object of all, at a key or after it,
  // or strictly after it; null at the end.
  Pivot::Ptr<Sm> smFirst() const;
  Pivot::Ptr<Sm> smFrom(void const* key) const;
  Pivot::Ptr<Sm> smAfter(void const* key) const;
  // The hint is a fresh one or comes from the step before; `key` is that of the object delivered last.
  Pivot::Ptr<Sm> smAfter(void const* key, WalkHint& hint) const;
  // The object that the walk reaches some steps later, to be fetched from memory meanwhile; null at the end, and
  // before the first step.
  Sm const* smAhead(WalkHint const& hint) const;
  // The place in the account that a key goes to, among keys of other hashes.
  std::uint32_t accountHash(void const* key) const { return Account::hashOf(refOf(key)); }

  // First step of a destructor: the account is emptied while the whole object is still there.
  void closeAccount();

 private:
  ResourceKeyRef refOf(void const* key) const { return {key, &keyOps_}; }
  void const* keyOf(Sm const& sm) const { return keyOps_.keyOf(*sm.resHandle()); }
  static constexpr int kStepsAhead = 8;

  static Pivot::Ptr<Sm> memberAt(Account const& account, Account::const_iterator at);
  static void detach(Sm& sm);

  ResourceKeyOps const& keyOps_;
  Account account_;
  // Counts the members that came and went, from 1.
  std::uint64_t accountChanges_ = 1;
  mutable Pivot::Publisher publisher_;
};

}  // namespace LoamInLif
