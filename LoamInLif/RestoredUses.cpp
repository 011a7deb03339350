#include "LoamInLif/RestoredUses.h"

#include <algorithm>
#include <array>
#include <utility>

#include "LoamInLif/LinkageCore.h"

namespace LoamInLif {
namespace {

// One stable pass over a byte of the order; nothing moves when all uses have the same byte there, as all have
// in each byte of the resource when they share it.
template <class ByteOf>
void orderByByte(std::vector<RestoredUse>& uses, std::vector<RestoredUse>& spare, ByteOf byteOf) {
  std::array<std::size_t, 256> ends{};
  for (RestoredUse const& use : uses) ++ends[byteOf(use)];
  if (ends[byteOf(uses.front())] == uses.size()) return;
  std::size_t begin = 0;
  for (std::size_t& end : ends) begin += std::exchange(end, begin);
  for (RestoredUse const& use : uses) spare[ends[byteOf(use)]++] = use;
  uses.swap(spare);
}

}  // namespace

RestoredUses::~RestoredUses() {
  for (; drained_ < uses_.size(); ++drained_) intrusive_ptr_release(uses_[drained_].handle);
}

// From the least byte to the greatest: the passes are stable, so the last one leaves the whole order.
void RestoredUses::order(ResourceKeyOps const& keyOps) {
  if (uses_.empty()) return;
  std::vector<RestoredUse> spare(uses_.size());
  for (unsigned shift = 0; shift < 32; shift += 8)
    orderByByte(uses_, spare, [shift](RestoredUse const& use) { return use.userHash >> shift & 0xFF; });
  for (unsigned shift = 0; shift < 32; shift += 8)
    orderByByte(uses_, spare, [shift](RestoredUse const& use) { return use.resourceHash >> shift & 0xFF; });
  // Among keys of one hash the account goes by the keys themselves.
  auto const sameHash = [](RestoredUse const& a, RestoredUse const& b) {
    return a.resourceHash == b.resourceHash;
  };
  auto const less = [&keyOps](RestoredUse const& a, RestoredUse const& b) {
    return a.handle != b.handle && keyOps.less(keyOps.keyOf(*a.handle), keyOps.keyOf(*b.handle));
  };
  for (auto from = uses_.begin(); from != uses_.end();) {
    auto const to = std::find_if(from, uses_.end(), [&](auto const& use) { return !sameHash(*from, use); });
    if (std::any_of(from, to, [&](auto const& use) { return use.handle != from->handle; }))
      std::stable_sort(from, to, less);
    from = to;
  }
}

}  // namespace LoamInLif
