#include "LoamInLif/linkage/LinkageCore.h"

#include <utility>

#include "Vex/Exceptions.h"

namespace LoamInLif {

LocalUsageUpdateSmCore::LocalUsageUpdateSmCore(Pivot::Ptr<Handle const> const& resPtr, LinkageCore* parent,
                                               Dispatch dispatchOfClass)
    : resPtr_(resPtr), parent_(parent) {
  if (resPtr_) subscribe(dispatchOfClass);
}

LocalUsageUpdateSmCore::~LocalUsageUpdateSmCore() = default;

void LocalUsageUpdateSmCore::closeNotification() {
  notificationActiveIs(false, nullptr);
  vexDoZombieReactors(true);
  if (dispatch != nullptr) unsubscribe();
}

void LocalUsageUpdateSmCore::subscribe(Dispatch dispatchOfClass) {
  dispatch = dispatchOfClass;
  Pivot::Publisher::subscriberAdd(resPtr_->publisher(), this, false);
}

void LocalUsageUpdateSmCore::unsubscribe() {
  Pivot::Publisher::subscriberRemove(resPtr_->publisher(), this);
  dispatch = nullptr;
}

void LocalUsageUpdateSmCore::vexDoZombieReactors(bool zombie) {
  if (markAndSweepFlag() != zombie) markAndSweepFlagSet(zombie);
}

// The mark keeps notifications out while the subscription changes.
void LocalUsageUpdateSmCore::notificationActiveIs(bool active, Dispatch dispatchOfClass) {
  if (hasNotificationActive() == active) return;
  flagSet(kHasNotificationActive, active);
  bool const marked = markAndSweepFlag();
  markAndSweepFlagSet(true);
  if (resPtr_ && active != (dispatch != nullptr)) {
    if (active) {
      subscribe(dispatchOfClass);
    } else {
      unsubscribe();
    }
  }
  markAndSweepFlagSet(marked);
}

ResourceKeyRef LinkageCore::EntryUsageSmKeyFunktor::operator()(Pivot::Ptr<Sm> const& sm) const {
  LinkageCore const& linkage = *sm->parent_;
  return linkage.refOf(linkage.keyOf(*sm));
}

LinkageCore::~LinkageCore() = default;

Pivot::Publisher* LinkageCore::publisher() const {
  return &publisher_;
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smFind(void const* key) const {
  auto const* sm = account_.find(refOf(key));
  return sm == nullptr ? nullptr : *sm;
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smOf(Handle const* handle) const {
  if (handle == nullptr) {
    Vex::throwMutatorArgNullPointerException(typeData().module->name, typeData().name(), "resPtr",
                                             kFieldEntryUsageSm);
  }
  auto sm = smFind(keyOps_.keyOf(*handle));
  if (sm && sm->resHandle() != handle) {
    Vex::Impl::throwMutatorReinstantiating(typeData().module->name, typeData().name(), "resPtr",
                                           kFieldEntryUsageSm);
  }
  return sm;
}

void LinkageCore::smAdd(Pivot::Ptr<Sm> const& sm) {
  ++accountChanges_;
  account_.insert(sm);
  publisher_.publish(kFieldEntryUsageSm, keyOf(*sm));
}

// A subscriber may drop the last owner of this linkage: nothing of it is touched after the publication. It may steer
// the resource as well, of which the object that went hears nothing any more.
Pivot::Ptr<LinkageCore::Sm> LinkageCore::smDel(void const* key) {
  ++accountChanges_;
  auto taken = account_.take(refOf(key));
  if (!taken) return nullptr;
  auto const sm = std::move(*taken);
  detach(*sm);
  publisher_.publish(kFieldEntryUsageSm, keyOf(*sm));
  return sm;
}

void LinkageCore::detach(Sm& sm) {
  sm.notificationActiveIs(false, nullptr);
  sm.parent_ = nullptr;
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::memberAt(Account const& account, Account::const_iterator at) {
  return at == account.end() ? nullptr : at->value();
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smFirst() const {
  return memberAt(account_, account_.begin());
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smFrom(void const* key) const {
  return memberAt(account_, account_.iteratorFrom(refOf(key)));
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smAfter(void const* key) const {
  return memberAt(account_, account_.iteratorAfter(refOf(key)));
}

Pivot::Ptr<LinkageCore::Sm> LinkageCore::smAfter(void const* key, WalkHint& hint) const {
  if (hint.changes_ == accountChanges_) {
    ++hint.at_;
    if (hint.ahead_ != account_.end()) ++hint.ahead_;
  } else {
    hint.ahead_ = hint.at_ = account_.iteratorAfter(refOf(key));
    for (int step = 0; step < kStepsAhead && hint.ahead_ != account_.end(); ++step) ++hint.ahead_;
    hint.changes_ = accountChanges_;
  }
  return memberAt(account_, hint.at_);
}

LinkageCore::Sm const* LinkageCore::smAhead(WalkHint const& hint) const {
  if (hint.changes_ != accountChanges_ || hint.ahead_ == account_.end()) return nullptr;
  return hint.ahead_->value().get();
}

void LinkageCore::entryUsageSmDelAll() {
  Pivot::Ptr<LinkageCore> const held(this);
  for (auto sm = smFirst(); sm; sm = smAfter(keyOf(*sm))) {
    smDel(keyOf(*sm));
  }
}

// What a subscriber put in behind the walk goes without another publication, so that no object points to a
// linkage that is not there.
void LinkageCore::closeAccount() {
  flagSet(kHasNotificationActive, false);
  entryUsageSmDelAll();
  for (auto sm = smFirst(); sm; sm = smFirst()) {
    ++accountChanges_;
    account_.erase(refOf(keyOf(*sm)));
    detach(*sm);
  }
}

}  // namespace LoamInLif
