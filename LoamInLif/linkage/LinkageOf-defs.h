// Bodies of LinkageOf and LocalUsageUpdateSmOf. Included where they are instantiated, one file for each
// instance.
#pragma once

#include <type_traits>
#include <utility>

#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/linkage/LinkageOf.h"
#include "LoamInLif/linkage/LocalUsageUpdateSmOf.h"
#include "OrderedTable/OrderedTableResourceAccessor-defs.h"

namespace LoamInLif {

// --- LocalUsageUpdateSmOf ---

template <class I, class Kind>
auto LocalUsageUpdateSmOf<I, Kind>::swTable() const -> SwTable* {
  return parentCore() == nullptr ? nullptr : parent()->swTable();
}

template <class I, class Kind>
void LocalUsageUpdateSmOf<I, Kind>::handleResourceChange() {
  if (parentCore() == nullptr) return;
  // A change amid a restore: what the walk found of the entries does not hold any more.
  if (SwTable* const table = swTable()) table->restoreFindingsIs(nullptr);
  using Sm = typename Linkage::LocalUsageUpdateSm;
  Asic::SwTableResourceAccessor<Linkage>(parent()).handleResourceChange(static_cast<Sm*>(this));
}

template <class I, class Kind>
void LocalUsageUpdateSmOf<I, Kind>::resPtrDispatch(Pivot::Publisher*, Pivot::Subscriber* subscriber,
                                                   Pivot::FieldId fieldId, void const*, void const*) {
  if (fieldId != ResourceHandle::kFieldChange) return;
  auto* const sm = static_cast<LocalUsageUpdateSmOf*>(subscriber);
  if (sm->markAndSweepFlag()) return;
  sm->handleResourceChange();
}

// --- LinkageOf ---

template <class I, class Kind>
ResourceKeyOps const& LinkageOf<I, Kind>::keyOps() {
  static constexpr ResourceKeyOps ops{
      [](void const* key, std::uint32_t seed) { return static_cast<Key const*>(key)->hash(seed); },
      [](void const* a, void const* b) { return *static_cast<Key const*>(a) < *static_cast<Key const*>(b); },
      [](void const* a, void const* b) { return *static_cast<Key const*>(a) == *static_cast<Key const*>(b); },
      [](BursarResourceTable::ResourceHandle const& handle) -> void const* {
        static_assert(std::is_reference_v<decltype(std::declval<ResourceHandle const&>().key())>,
                      "the account refers to the key where the handle holds it");
        return &static_cast<ResourceHandle const&>(handle).key();
      },
      LinkageSeeds<I, Kind>::entryUsageSm};
  return ops;
}

template <class I, class Kind>
LinkageOf<I, Kind>::LinkageOf(SwTable* swTable, Pivot::Ptr<ClientInstance> const& resTblClient)
    : LinkageCore(keyOps()), swTable_(swTable), resTblClient_(resTblClient) {}

template <class I, class Kind>
LinkageOf<I, Kind>::~LinkageOf() {
  closeAccount();
}

template <class I, class Kind>
void LinkageOf<I, Kind>::updateLocalUsage(EntryPtr const& swEntry, OldEntry const& oldEntry, bool isDeleted) {
  Asic::SwTableResourceAccessor(static_cast<Linkage*>(this)).updateLocalUsage(swEntry, oldEntry, isDeleted);
}

template <class I, class Kind>
Asic::EntryState LinkageOf<I, Kind>::entryResolutionState(ConstEntryPtr const& entry) const {
  return Asic::SwTableResourceAccessor(static_cast<Linkage const*>(this)).entryResolutionState(entry);
}

template <class I, class Kind>
void LinkageOf<I, Kind>::resolveEntry(EntryPtr const& entry) {
  Asic::SwTableResourceAccessor(static_cast<Linkage*>(this)).resolveEntry(entry);
}

template <class I, class Kind>
bool LinkageOf<I, Kind>::prefetchResource(ConstEntryPtr const& entry) const {
  Key const& resKey = resourceKey(entry);
  return !isNullKey(resKey) && resTblClient_->prefetch(resKey);
}

template <class I, class Kind>
void LinkageOf<I, Kind>::prefetchHandle(ConstEntryPtr const& entry) const {
  Key const& resKey = resourceKey(entry);
  if (!isNullKey(resKey)) resTblClient_->prefetchHandle(resKey);
}

template <class I, class Kind>
Pivot::Ptr<Asic::NeededEntry> LinkageOf<I, Kind>::getNeededEntrySet(ConstEntryPtr const& entry) const {
  return Asic::SwTableResourceAccessor(static_cast<Linkage const*>(this)).getNeededEntrySet(entry);
}

template <class I, class Kind>
void LinkageOf<I, Kind>::restoreEntry(EntryPtr const& entry) {
  Asic::SwTableResourceAccessor(static_cast<Linkage*>(this)).restoreEntry(entry);
}

// A subscriber of the account and a trace of each use see the account grow use by use.
template <class I, class Kind>
bool LinkageOf<I, Kind>::beginRestore() {
  bool const followed = publisher()->hasSubscriber() ||
                        Asic::SwTableResourceAccessor<Linkage>::_defaultTraceHandle().enabled(8);
  if (!followed) restoredUses_ = std::make_unique<RestoredUses>();
  return !followed;
}

// A resource that is not done may become so before the walk ends, and its object has to hear of it.
template <class I, class Kind>
bool LinkageOf<I, Kind>::takeDownUse(Key const& resKey, EntryPtr const& entry) {
  if (!restoredUses_) return false;
  ResourcePtr const& handle = resourceHandle(entry);
  if (!handle || handle->entryState() != Asic::EntryState::entryStateDone) return false;
  restoredUses_->add(*handle, Linkage::LocalUsageUpdateSm::EntryUsage::hashOf(entry->key()),
                     [&] { return accountHash(&resKey); });
  return true;
}

template <class I, class Kind>
bool LinkageOf<I, Kind>::endRestore() {
  auto const uses = std::move(restoredUses_);
  if (!uses) return true;
  using LocalUsageUpdateSm = typename Linkage::LocalUsageUpdateSm;
  return uses->fill(
      *this,
      [this](auto const& handle) {
        ResourcePtr const resPtr(static_cast<ResourceHandle const*>(&handle));
        return Linkage::localUsageUpdateSmFactory(resPtr, static_cast<Linkage*>(this));
      },
      [](auto& sm, auto const& users) { static_cast<LocalUsageUpdateSm&>(sm).appendEntryUsage(users); });
}

template <class I, class Kind>
void LinkageOf<I, Kind>::handleResourceChangeAtInit() {
  Asic::SwTableResourceAccessor(static_cast<Linkage*>(this)).handleResourceChangeAtInit();
}

template <class I, class Kind>
void LinkageOf<I, Kind>::setResourceHandle(EntryPtr const& entry) {
  Asic::SwTableResourceAccessor(static_cast<Linkage*>(this)).setResourceHandle(entry);
}

}  // namespace LoamInLif
