// The flat array behind the hash collections: slots in the order of (hash, key), of which each member is
// found with one probe. HashMap2018 and HashSet2018 are the shells that know keys; this knows hashes, and
// asks its caller about members of one hash.
//
// A hash has a home, its high bits times the number of homes, so homes are in the order of the hashes. A
// member lies in its home or, where that is taken, behind it: the array is filled by linear probing, but a
// new member goes between its neighbours and moves those behind it on by one slot, up to the next empty one.
// Behind the homes are some more slots, so that no run of members goes round the end. Invariants:
//
//  I1. Members are in the order of (hash, key), and no member lies before its home.
//  I2. Between a member and its home no slot is empty. So a search begins at the home, and a removal moves
//      the members behind it back by one slot until one lies in its home.
//  I3. An empty slot bears kNoHash, which no search passes; so does the slot behind the last one, which is
//      never filled. From the home of a key on the question "is this before the key?" changes its answer only
//      once.
//  I4. `first` and `stop` are the slot of the first member and the one behind that of the last.
//
// A set whose members are nothing but hashes may hold kNoHash itself: as the greatest hash it is the last
// member, in the slot before `stop`, and told from an empty slot by that.
//
// What it costs. A search reads the slot of the home and, at the usual load of 65 to 87 %, a few behind it.
// An array that is full is made anew with twice as many homes, from kSlowGrowth on with half as many again; that
// moves each member once, in order: tenths of a millisecond for 65,536 members of 16 bytes. One of which
// seven eighths have gone is made anew too, and none is kept without a member. Hashes that crowd, whoever
// chose them, make runs: a search doubles its steps and stays logarithmic, while each insertion and removal
// moves the rest of the run, as in a sorted array (at worst half the members, a few microseconds for 65,536),
// and the array has slots for them behind the homes, at most about a quarter more than members. Up to kDense
// members lie close together, all at one home.
//
// Nodes are moved by such changes and must not throw when they are. Whatever else throws, a copy or a
// comparison of keys, leaves the members as they were. A process without memory ends in the allocation.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "Cobble/Slab.h"
#include "Vex/Prefetch.h"

namespace Vex {

// A slot with its hash. Node lives in it while it holds a member; void is for members that are nothing but a
// hash.
template <class Node>
struct OrderedSlot {
  static_assert(std::is_nothrow_move_constructible_v<Node>, "members are moved when others come and go");

  explicit OrderedSlot(std::uint32_t hashOfMember) : hash(hashOfMember) {}
  ~OrderedSlot() {}

  std::uint32_t hash;
  union {
    Node node;
  };
};
template <>
struct OrderedSlot<void> {
  std::uint32_t hash;
};

template <class Node>
class OrderedSlots {
 public:
  using Slot = OrderedSlot<Node>;
  static constexpr std::uint32_t kNoHash = 0xFFFFFFFF;

  // A member on a walk, or the end.
  class Iterator {
   public:
    Iterator() = default;
    Iterator(Slot* at, Slot* stop) : at_(at), stop_(stop) {}
    Slot& operator*() const { return *at_; }
    Slot* operator->() const { return at_; }
    Iterator& operator++() {
      ++at_;
      skipEmpty();
      return *this;
    }
    // Goes on to the next member from a slot that may be empty. The slot before the stop never is.
    void skipEmpty() {
      while (at_ + 1 < stop_ && at_->hash == kNoHash) ++at_;
    }
    bool operator==(Iterator const& other) const { return at_ == other.at_; }

   private:
    Slot* at_ = nullptr;
    Slot* stop_ = nullptr;
  };

  OrderedSlots() = default;
  OrderedSlots(OrderedSlots&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  OrderedSlots(OrderedSlots const& other) : OrderedSlots() {
    for (auto at = other.begin(); at != other.end(); ++at) {
      if constexpr (kHasNode) {
        append(at->hash, at->node);
      } else {
        append(at->hash);
      }
    }
  }
  OrderedSlots& operator=(OrderedSlots other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~OrderedSlots() {
    if (block_ == nullptr) return;
    for (auto at = begin(); at != end(); ++at) destroyNode(*at);
    freeBlock(block_);
  }

  std::size_t size() const { return block_ == nullptr ? 0 : block_->members; }
  bool empty() const { return size() == 0; }
  // As one with members does, or room reserved for some.
  bool ownsMemory() const { return block_ != nullptr; }
  Iterator begin() const {
    return block_ == nullptr ? Iterator() : Iterator(&slots()[block_->first], stop());
  }
  Iterator end() const { return block_ == nullptr ? Iterator() : Iterator(stop(), stop()); }
  // The member in a slot that lowerBound gave, or the next one.
  Iterator from(Slot* at) const {
    if (block_ == nullptr || at >= stop()) return end();
    Iterator result(at, stop());
    result.skipEmpty();
    return result;
  }
  // The last member. REQUIRES: not empty.
  Slot& last() const { return stop()[-1]; }

  // The slot where a member of this hash lies or would lie: the first of which isBefore(node) does not say
  // that it belongs before. isBefore is asked about members of the same hash alone. Null for an empty array.
  template <class IsBefore>
  Slot* lowerBound(std::uint32_t hash, IsBefore isBefore) const {
    if (block_ == nullptr) return nullptr;
    auto const before = [&](Slot const& slot) {
      return slot.hash < hash || (slot.hash == hash && isBefore(slot));
    };
    Slot* at = home(hash);
    for (int steps = kNear; steps != 0; --steps, ++at) {
      if (!before(*at)) return at;
    }
    return lowerBoundFar(at, before);
  }
  // The first slot of this hash or where it would be.
  Slot* lowerBound(std::uint32_t hash) const {
    return lowerBound(hash, [](Slot const&) { return false; });
  }
  // Starts fetching the slot where a search for the hash begins.
  void prefetch(std::uint32_t hash) const {
    if (block_ != nullptr) Vex::prefetch(home(hash));
  }
  // Whether the slot that lowerBound gave for a hash holds a member of it.
  bool holds(Slot const* at, std::uint32_t hash) const {
    return block_ != nullptr && at->hash == hash && at < stop();
  }

  // Puts a member into the slot that lowerBound gave. REQUIRES: the member is new. What the node is made of
  // is taken once nothing can fail but its construction.
  template <class IsBefore, class... Args>
  Slot* insert(Slot* at, std::uint32_t hash, IsBefore isBefore, Args&&... args) {
    Slot* gap = gapBehind(at);
    if (gap == nullptr) {
      remake(block_ == nullptr ? 1 : block_->members + 1);
      at = lowerBound(hash, isBefore);
      gap = gapBehind(at);
    }
    if constexpr (kHasNode) {
      Node node(std::forward<Args>(args)...);
      for (Slot* slot = gap; slot != at; --slot) moveMember(slot[-1], *slot);
      new (&at->node) Node(std::move(node));
    } else {
      std::memmove(at + 1, at, static_cast<std::size_t>(gap - at) * sizeof(Slot));
    }
    at->hash = hash;
    block_->first = block_->members++ == 0 ? indexOf(at) : least(block_->first, indexOf(at));
    block_->stop = greatest(block_->stop, indexOf(gap) + 1);
    return at;
  }
  // A new member behind all others. REQUIRES: its place is there.
  template <class... Args>
  void append(std::uint32_t hash, Args&&... args) {
    Slot* const at = block_ == nullptr ? nullptr : greatest(home(hash), stop());
    insert(
        at, hash, [](Slot const&) { return kHasNode; }, std::forward<Args>(args)...);
  }

  // Makes room for so many more, so that the array is not made anew for them.
  void reserve(std::uint32_t more) {
    std::uint32_t const members = (block_ == nullptr ? 0 : block_->members) + more;
    if (members > kDense && (block_ == nullptr || homesFor(members) > block_->homes)) remake(members);
  }

  // Removes a member; its node dies before the array changes, so a caller moves out what is to live on.
  void erase(Slot* at) {
    destroyNode(*at);
    if (--block_->members == 0) {
      freeBlock(std::exchange(block_, nullptr));
      return;
    }
    Slot* gap = at;
    for (Slot* next = at + 1; isMember(next) && home(next->hash) != next; ++next) moveMember(*next, *gap++);
    gap->hash = kNoHash;
    if (gap + 1 == stop()) block_->stop = gap == at ? stopBefore(gap) : indexOf(gap);
    while (block_->first + 1 < block_->stop && slots()[block_->first].hash == kNoHash) ++block_->first;
    if (block_->slots > kDense && block_->members < block_->homes / 8) remake(2 * block_->members);
  }

 private:
  using Memory = Cobble::NodeAllocator<std::byte>;
  static constexpr bool kHasNode = !std::is_void_v<Node>;
  static constexpr std::uint32_t kDense = 8;
  static constexpr std::uint32_t kSlowGrowth = 1024;
  // So many slots from the home on are looked at one by one.
  static constexpr int kNear = 16;
  // An array from here on lies on huge pages where the system has some: each search looks somewhere else in it.
  static constexpr std::size_t kBulk = 2 * 1024 * 1024;

  // What stands before the slots; the slot behind the last one is the guard of searches (I3).
  struct Block {
    std::uint32_t members;
    std::uint32_t homes;
    std::uint32_t slots;
    std::uint32_t first;
    std::uint32_t stop;
  };
  static constexpr std::size_t kSlotsOffset =
      (sizeof(Block) + alignof(Slot) - 1) / alignof(Slot) * alignof(Slot);

  // Every client includes this file, and <algorithm> is as long as all that it would include else of ours.
  template <class T>
  static constexpr T least(T a, T b) {
    return b < a ? b : a;
  }
  template <class T>
  static constexpr T greatest(T a, T b) {
    return a < b ? b : a;
  }

  static Slot* slotsOf(Block* block) {
    return reinterpret_cast<Slot*>(reinterpret_cast<std::byte*>(block) + kSlotsOffset);
  }
  static std::uint32_t placeAt(std::uint32_t homes, std::uint32_t hash) {
    return static_cast<std::uint32_t>(std::uint64_t{hash} * homes >> 32);
  }
  static Slot* homeIn(Block* block, std::uint32_t hash) {
    return slotsOf(block) + placeAt(block->homes, hash);
  }
  Slot* slots() const { return slotsOf(block_); }
  Slot* stop() const { return &slots()[block_->stop]; }
  Slot* home(std::uint32_t hash) const { return homeIn(block_, hash); }
  std::uint32_t indexOf(Slot const* at) const { return static_cast<std::uint32_t>(at - slots()); }
  bool isMember(Slot const* at) const { return at->hash != kNoHash || at + 1 == stop(); }

  static void destroyNode(Slot& slot) {
    if constexpr (kHasNode) slot.node.~Node();
  }
  static void moveMember(Slot& from, Slot& to) {
    to.hash = from.hash;
    if constexpr (kHasNode) {
      new (&to.node) Node(std::move(from.node));
      from.node.~Node();
    }
  }

  // The same from a slot on, with steps that double.
  template <class Before>
  Slot* lowerBoundFar(Slot* at, Before const& before) const {
    Slot* const guard = &slots()[block_->slots];
    for (std::ptrdiff_t step = kNear; guard - at > step; step *= 2) {
      if (!before(at[step])) return lowerBoundIn(at, at + step, before);
      at += step + 1;
    }
    return lowerBoundIn(at, guard, before);
  }
  template <class Before>
  static Slot* lowerBoundIn(Slot* from, Slot* to, Before const& before) {
    while (from != to) {
      Slot* const middle = from + (to - from) / 2;
      if (before(*middle)) {
        from = middle + 1;
      } else {
        to = middle;
      }
    }
    return from;
  }

  // The slot up to which members move on when one is put in, or null when the array must be made anew before.
  Slot* gapBehind(Slot* at) const {
    if (block_ == nullptr || block_->members == membersMax(block_->homes)) return nullptr;
    while (isMember(at)) ++at;
    return indexOf(at) == block_->slots ? nullptr : at;
  }
  // The stop when no member lies from here on.
  std::uint32_t stopBefore(Slot const* at) const {
    while (at[-1].hash == kNoHash) --at;
    return indexOf(at);
  }

  // Homes are one for a dense array.
  static std::uint32_t membersMax(std::uint32_t homes) { return homes == 1 ? kDense : homes - homes / 8; }
  static std::uint32_t homesFor(std::uint32_t members) {
    if (members <= kDense) return 1;
    std::uint32_t homes = kDense + kDense / 2;
    while (membersMax(homes) < members) homes += homes < kSlowGrowth ? homes : homes / 2;
    return homes;
  }
  // So many slots that the members that there are have their place and some are left behind the last.
  std::uint32_t slotsFor(std::uint32_t homes, std::uint32_t members) const {
    if (homes == 1) return std::bit_ceil(members);
    std::uint32_t const behind = slotsBehind(homes);
    return homes + behind + behind / 4 + least(homes / 16 + 2, 32U);
  }
  // How many slots behind so many homes the members take at most. With more homes than now it is no more than
  // now: from each member to the last home there are at least as many.
  std::uint32_t slotsBehind(std::uint32_t homes) const {
    if (block_ == nullptr) return 0;
    if (block_->homes > 1 && homes >= block_->homes) {
      return greatest(block_->stop, block_->homes) - block_->homes;
    }
    std::uint32_t needed = 0;
    for (auto at = begin(); at != end(); ++at) needed = greatest(needed, placeAt(homes, at->hash)) + 1;
    return greatest(needed, homes) - homes;
  }

  // A new array for so many members, with those that there are.
  void remake(std::uint32_t members) {
    std::uint32_t const homes = homesFor(members);
    Block* const made = makeBlock(homes, slotsFor(homes, members));
    Slot* to = slotsOf(made);
    for (auto from = begin(); from != end(); ++from) {
      for (Slot* const place = homeIn(made, from->hash); to < place; ++to) new (to) Slot{kNoHash};
      if (made->members++ == 0) made->first = static_cast<std::uint32_t>(to - slotsOf(made));
      new (to) Slot{from->hash};
      moveMember(*from, *to++);
    }
    made->stop = static_cast<std::uint32_t>(to - slotsOf(made));
    for (Slot* const guard = slotsOf(made) + made->slots; to <= guard; ++to) new (to) Slot{kNoHash};
    if (block_ != nullptr) freeBlock(block_);
    block_ = made;
  }

  static Block* makeBlock(std::uint32_t homes, std::uint32_t slots) {
    std::size_t const bytes = bytesFor(slots);
    return new (bytes < kBulk ? Memory().allocate(bytes) : Cobble::allocateBulk(bytes))
        Block{0, homes, slots, 0, 0};
  }
  static void freeBlock(Block* block) {
    Memory().deallocate(reinterpret_cast<std::byte*>(block), bytesFor(block->slots));
  }
  static std::size_t bytesFor(std::uint32_t slots) {
    return kSlotsOffset + (std::size_t{slots} + 1) * sizeof(Slot);
  }

  Block* block_ = nullptr;
};

}  // namespace Vex
