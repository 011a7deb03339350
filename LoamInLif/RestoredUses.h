#pragma once
// The uses of resources that a linkage finds while its table is restored. Entries come in the order of the
// store, which is none: put into the account one by one, each would be searched its place in a tree that does
// not fit the cache. They are taken down here instead, ordered once, and go into the account from its first
// member to its last.
//
// Made by the linkage when a restore begins, gone when it has filled the account. Holds each handle until
// then, so that its table keeps the key. On the agent's one thread.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Bursar/ResourceHandle.h"

namespace LoamInLif {

struct ResourceKeyOps;

/// One entry that uses one resource.
struct RestoredUse {
  BursarResourceTable::ResourceHandle const* handle;
  std::uint32_t resourceHash;  // orders the account
  std::uint32_t userHash;      // orders the users of one resource
  std::uint32_t updateVersion;
};

class RestoredUses {
 public:
  using Handle = BursarResourceTable::ResourceHandle;

  /// `entries`: the most that will be added.
  explicit RestoredUses(std::size_t entries) { uses_.reserve(entries); }
  ~RestoredUses();
  RestoredUses(RestoredUses const&) = delete;
  RestoredUses& operator=(RestoredUses const&) = delete;

  void add(Handle const& handle, std::uint32_t resourceHash, std::uint32_t userHash) {
    intrusive_ptr_add_ref(&handle);
    uses_.push_back({&handle, resourceHash, userHash, handle.updateVersion()});
  }

  /// Brings the uses into the order of the account: by resource, and for each resource by user.
  void order(ResourceKeyOps const& keyOps);

  /// Calls fill(handle, uses) for each resource, in the present order, and lets go of its uses. Returns whether
  /// no resource has changed since its uses were added. REQUIRES: not called before.
  template <class Fill>
  [[nodiscard]] bool drain(Fill fill) {
    bool unchanged = true;
    while (drained_ < uses_.size()) {
      Handle const* const handle = uses_[drained_].handle;
      std::size_t end = drained_;
      while (end < uses_.size() && uses_[end].handle == handle) ++end;
      std::span<RestoredUse const> const uses(&uses_[drained_], end - drained_);
      fill(*handle, uses);
      for (RestoredUse const& use : uses) {
        unchanged = unchanged && use.updateVersion == handle->updateVersion();
      }
      for (; drained_ < end; ++drained_) intrusive_ptr_release(handle);
    }
    return unchanged;
  }

 private:
  std::vector<RestoredUse> uses_;
  std::size_t drained_ = 0;
};

}  // namespace LoamInLif
