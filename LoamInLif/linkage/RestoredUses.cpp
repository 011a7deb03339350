#include "LoamInLif/linkage/RestoredUses.h"

#include <algorithm>
#include <array>
#include <utility>

namespace LoamInLif {
namespace {

// Fewer members than this are ordered by comparison.
constexpr std::size_t kRadixMembers = 256;

// One stable pass over a byte of the order, from `members` to `spare`. Returns false, and moves nothing, when all
// members have the same byte there.
template <class T, class ByteOf>
bool orderByByte(std::span<T const> members, std::span<T> spare, ByteOf byteOf) {
  std::array<std::size_t, 256> ends{};
  for (T const& member : members) ++ends[byteOf(member)];
  if (ends[byteOf(members.front())] == members.size()) return false;
  std::size_t begin = 0;
  for (std::size_t& end : ends) begin += std::exchange(end, begin);
  for (T const& member : members) spare[ends[byteOf(member)]++] = member;
  return true;
}

// Orders by a number, from its least byte to its greatest: the passes are stable, so the last one leaves the whole
// order. The result stands in `members` or in `spare`; returns where.
template <class T, class NumberOf>
std::span<T> orderByNumber(std::span<T> members, std::span<T> spare, NumberOf numberOf) {
  for (unsigned shift = 0; shift < 32; shift += 8) {
    auto const byteOf = [&](T const& member) { return numberOf(member) >> shift & 0xFF; };
    if (orderByByte<T>(members, spare, byteOf)) std::swap(members, spare);
  }
  return members;
}

}  // namespace

RestoredUses::~RestoredUses() {
  for (; drained_ < runs_.size(); ++drained_) intrusive_ptr_release(runs_[drained_].handle);
}

void RestoredUses::order(ResourceKeyOps const& keyOps) {
  if (runs_.size() < 2) return;
  Bulk<Run> spare(runs_.size());
  auto const ordered = orderByNumber<Run>(runs_, spare, [](Run const& run) { return run.resourceHash; });
  if (ordered.data() != runs_.data()) runs_.swap(spare);
  // Among keys of one hash the account goes by the keys themselves.
  auto const less = [&keyOps](Run const& a, Run const& b) {
    return a.handle != b.handle && keyOps.less(keyOps.keyOf(*a.handle), keyOps.keyOf(*b.handle));
  };
  for (auto from = runs_.begin(); from != runs_.end();) {
    auto const to = std::find_if(from, runs_.end(),
                                 [&](Run const& run) { return run.resourceHash != from->resourceHash; });
    if (std::any_of(from, to, [&](Run const& run) { return run.handle != from->handle; }))
      std::stable_sort(from, to, less);
    from = to;
  }
}

std::size_t RestoredUses::resources() const {
  std::size_t count = 0;
  Handle const* last = nullptr;
  for (Run const& run : runs_) {
    if (run.handle != std::exchange(last, run.handle)) ++count;
  }
  return count;
}

std::span<std::uint32_t const> RestoredUses::usersOf(std::size_t fromRun, std::size_t toRun) {
  std::span<std::uint32_t> users(&users_[runs_[fromRun].first], runs_[fromRun].count);
  if (toRun - fromRun > 1) {
    gathered_.clear();
    for (std::size_t run = fromRun; run < toRun; ++run) {
      auto const first = users_.begin() + runs_[run].first;
      gathered_.insert(gathered_.end(), first, first + runs_[run].count);
    }
    users = gathered_;
  }
  if (users.size() < kRadixMembers) {
    std::sort(users.begin(), users.end());
    return users;
  }
  if (spare_.size() < users.size()) spare_.resize(users.size());
  return orderByNumber<std::uint32_t>(users, {spare_.data(), users.size()},
                                      [](std::uint32_t hash) { return hash; });
}

}  // namespace LoamInLif
