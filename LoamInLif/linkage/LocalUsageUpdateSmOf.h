// The users of one resource key in one linkage: a small state machine that listens to the resource's handle,
// brings every user up to date when it changes, and acknowledges. The real classes are nested in the
// linkages, as InLif0InLifDataLinkage::LocalUsageUpdateSm and so on; they stand in
// InLifNResourceTableLinkage.h.
//
//   field id  attribute
//        130  resPtr                given at construction, never replaced
//        131  parent                the linkage that holds the object in its account; null once it does not
//        132  swTable               computed: the table of the parent
//        133  resKey                computed: the key of the handle
//        134  entryUsage            the software keys of the committed entries that use the resource key
//        135  handleResourceChange  operation
#pragma once

#include <cstdint>
#include <span>

#include "LoamInLif/Kinds.h"
#include "LoamInLif/linkage/LinkageCore.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "Vex/HashSet2018.h"

namespace LoamInLif {

template <class I, class Kind>
class LOAM_INLIF_EXPORT LocalUsageUpdateSmOf : public LocalUsageUpdateSmCore {
 public:
  using Linkage = typename I::template Linkage<Kind>;
  using SwTable = typename I::SwTable;
  using Key = typename Kind::Key;
  using SwKey = LoamTunnelNiLib::InLifModelEntryKey;
  using ResourceHandle = typename Kind::ResourceHandle;
  using ResourcePtr = Pivot::Ptr<ResourceHandle const>;
  using EntryUsage = Vex::HashSet2018<SwKey, LinkageSeeds<I, Kind>::entryUsage>;

  // `resPtr` may be null, for an object that is in no account; `parent` is not owned.
  LocalUsageUpdateSmOf(ResourcePtr const& resPtr, Linkage* parent)
      : LocalUsageUpdateSmCore(resPtr, parent, &resPtrDispatch) {}
  ~LocalUsageUpdateSmOf() override { closeNotification(); }

  ResourcePtr resPtr() const { return ResourcePtr(static_cast<ResourceHandle const*>(resHandle())); }
  // Starts fetching the handle from memory. REQUIRES: there is one.
  void prefetchResPtr() const { resHandle()->prefetch(); }
  Linkage* parent() const { return static_cast<Linkage*>(parentCore()); }
  SwTable* swTable() const;
  // The null key of the kind without a handle.
  Key const& resKey() const { return resHandle() == nullptr ? Kind::nullKey() : handle().key(); }

  EntryUsage const& entryUsage() const { return entryUsage_; }
  bool entryUsageHas(SwKey const& key) const { return entryUsage_.has(key); }
  void entryUsageIs(SwKey const& key) { entryUsage_.set(key); }
  // The same for keys given by their EntryUsage::hashOf, in the order of these.
  void appendEntryUsage(std::span<std::uint32_t const> keyHashes) { entryUsage_.append(keyHashes); }
  // Whether the key was there.
  bool entryUsageDel(SwKey const& key) { return entryUsage_.erase(key); }
  void entryUsageDelAll() { entryUsage_.clear(); }

  // Does nothing without a parent.
  void handleResourceChange();
  // Subscribes to the handle, or unsubscribes; notifications are dropped for the length of the change.
  void hasNotificationActiveIs(bool active) { notificationActiveIs(active, &resPtrDispatch); }

  // What the handle's publisher calls.
  static void resPtrDispatch(Pivot::Publisher* publisher, Pivot::Subscriber* subscriber,
                             Pivot::FieldId fieldId, void const* key, void const* old);

 protected:
  // A new object of the real class, with its notification active.
  template <class Self>
  static Pivot::Ptr<Self> makeActive(ResourcePtr const& resPtr, Linkage* parent) {
    auto sm = Pivot::make<Self>(resPtr, parent);
    sm->hasNotificationActiveIs(true);
    return sm;
  }

 private:
  ResourceHandle const& handle() const { return static_cast<ResourceHandle const&>(*resHandle()); }

  EntryUsage entryUsage_;
};

}  // namespace LoamInLif
