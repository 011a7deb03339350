// The uses of resources that a linkage finds while its table is restored. Entries come in the order of the
// store, which is none: put into the account one by one, each would cost a search in an array that does not fit
// the cache. They are taken down here instead, ordered once, and go into the account from its first member to
// its last.
//
// Made by the linkage when a restore begins, gone when it has filled the account. Holds each handle until
// then, so that its table keeps the key. On the agent's one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Bursar/ResourceHandle.h"
#include "Cobble/Slab.h"
#include "LoamInLif/linkage/LinkageCore.h"
#include "Pivot/Node.h"

namespace LoamInLif {

class RestoredUses {
 public:
  using Handle = BursarResourceTable::ResourceHandle;

  RestoredUses() = default;
  ~RestoredUses();
  RestoredUses(RestoredUses const&) = delete;
  RestoredUses& operator=(RestoredUses const&) = delete;

  // One use of a resource. `userHash` orders the users of one resource, resourceHash() gives what orders the
  // account.
  template <class ResourceHash>
  void add(Handle const& handle, std::uint32_t userHash, ResourceHash resourceHash) {
    if (runs_.empty() || runs_.back().handle != &handle ||
        runs_.back().updateVersion != handle.updateVersion()) {
      intrusive_ptr_add_ref(&handle);
      runs_.push_back(
          {&handle, resourceHash(), handle.updateVersion(), static_cast<std::uint32_t>(users_.size()), 0});
    }
    ++runs_.back().count;
    users_.push_back(userHash);
  }

  // Brings the uses into the account of the linkage: make(handle) makes the object of a resource that has none
  // yet, append(sm, userHashes) gives it its users, in their order. Returns whether no resource has changed since
  // its uses were added. REQUIRES: not called before.
  template <class Make, class Append>
  [[nodiscard]] bool fill(LinkageCore& linkage, Make make, Append append) {
    order(linkage.keyOps_);
    ++linkage.accountChanges_;
    linkage.account_.reserve(resources());
    bool unchanged = true;
    while (drained_ < runs_.size()) {
      Handle const* const handle = runs_[drained_].handle;
      std::size_t end = drained_;
      for (; end < runs_.size() && runs_[end].handle == handle; ++end) {
        if (end + kRunsAhead < runs_.size()) runs_[end + kRunsAhead].handle->prefetch();
      }
      append(*memberOf(linkage, runs_[drained_], make), usersOf(drained_, end));
      for (; drained_ < end; ++drained_) {
        unchanged = unchanged && runs_[drained_].updateVersion == handle->updateVersion();
        intrusive_ptr_release(handle);
      }
    }
    return unchanged;
  }

 private:
  using Sm = LocalUsageUpdateSmCore;

  // Handles come in an order that memory does not know: so many are fetched ahead.
  static constexpr std::size_t kRunsAhead = 8;

  // Uses of one resource that came one after the other: entries that share it often do.
  struct Run {
    Handle const* handle;
    std::uint32_t resourceHash;
    std::uint32_t updateVersion;
    std::uint32_t first;  // of its users
    std::uint32_t count;
  };
  template <class T>
  using Bulk = std::vector<T, Cobble::BulkAllocator<T>>;

  // Brings the resources into the order of the account.
  void order(ResourceKeyOps const& keyOps);
  // The number of resources, in an order that has the runs of each one together.
  std::size_t resources() const;

  // The object of the run's resource. Resources come in the order of the account: one that has none is put behind
  // all others, without a search.
  template <class Make>
  static Pivot::Ptr<Sm> memberOf(LinkageCore& linkage, Run const& run, Make make) {
    void const* const key = linkage.keyOps_.keyOf(*run.handle);
    if (!linkage.account_.isBehindAll(run.resourceHash, linkage.refOf(key))) {
      if (auto const sm = linkage.smFind(key)) return sm;
    }
    Pivot::Ptr<Sm> const sm = make(*run.handle);
    ++linkage.accountChanges_;
    linkage.account_.append(run.resourceHash, sm);
    linkage.publisher_.publish(LinkageCore::kFieldEntryUsageSm, key);
    return sm;
  }

  // The users of some runs of one resource, in order; holds until the next call.
  std::span<std::uint32_t const> usersOf(std::size_t fromRun, std::size_t toRun);

  Bulk<Run> runs_;
  Bulk<std::uint32_t> users_;     // run by run, as they came
  Bulk<std::uint32_t> gathered_;  // those of a resource that has several runs
  Bulk<std::uint32_t> spare_;
  std::size_t drained_ = 0;
};

}  // namespace LoamInLif
