// The set of keys beside HashMap2018, with the same order and the same guarantee for walks that resume by key
// (H1 there).
//
// Keys of 32 bits are kept as their hash: the hash is a bijection, so it orders, identifies and gives back
// the key, and a member costs 4 bytes. Sets of entry keys live in the linkages, a hundred thousand with one
// member and a few with very many: a single member lies in the set itself, and the set is as large as a
// pointer.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "Vex/HashMap2018.h"
#include "Vex/OrderedSlots.h"

namespace Vex {

// Any key: a map whose value is its own key. A member is reached through iterators as *it.
template <class KeyType, std::uint32_t Seed>
class HashSet2018 {
  struct Self {
    KeyType const& operator()(KeyType const& key) const { return key; }
  };
  using Map = HashMap2018<Hm2018NI<KeyType, Self>, Seed>;

 public:
  using Key = KeyType;
  using Probe = typename Map::Probe;

  class const_iterator {
   public:
    explicit const_iterator(typename Map::const_iterator at) : at_(at) {}
    Key const& operator*() const { return at_->value(); }
    const_iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(const_iterator const& other) const { return at_ == other.at_; }

   private:
    typename Map::const_iterator at_;
  };
  using iterator = const_iterator;

  std::size_t size() const { return map_.size(); }
  bool empty() const { return map_.empty(); }
  bool has(Probe key) const { return map_.has(key); }
  // Whether the key was added, and whether it was there.
  bool set(Key const& key) { return map_.insert(key).second; }
  bool erase(Probe key) { return map_.erase(key); }
  void clear() { map_.clear(); }

  const_iterator begin() const { return const_iterator(map_.begin()); }
  const_iterator end() const { return const_iterator(map_.end()); }
  const_iterator iteratorFrom(Probe key) const { return const_iterator(map_.iteratorFrom(key)); }
  const_iterator iteratorAfter(Probe key) const { return const_iterator(map_.iteratorAfter(key)); }

 private:
  Map map_;
};

template <Key32 KeyType, std::uint32_t Seed>
class HashSet2018<KeyType, Seed> {
  using Slots = OrderedSlots<void>;
  using Slot = Slots::Slot;

 public:
  using Key = KeyType;
  using Probe = KeyType;

  class const_iterator {
   public:
    explicit const_iterator(Slots::Iterator at) : at_(at) {}
    Key operator*() const { return keyOf(at_->hash); }
    const_iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(const_iterator const& other) const { return at_ == other.at_; }

   private:
    Slots::Iterator at_;
  };
  using iterator = const_iterator;

  HashSet2018() : slots_() {}
  HashSet2018(HashSet2018 const& other) : HashSet2018() {
    if (other.isSingle()) {
      singleIs(other.single_.slot.hash);
    } else {
      slots_ = other.slots_;
    }
  }
  HashSet2018(HashSet2018&& other) noexcept : HashSet2018() {
    if (other.isSingle()) {
      singleIs(other.single_.slot.hash);
      other.noneIs();
    } else {
      slots_ = std::move(other.slots_);
    }
  }
  HashSet2018& operator=(HashSet2018 other) noexcept {
    this->~HashSet2018();
    return *new (this) HashSet2018(std::move(other));
  }
  ~HashSet2018() {
    if (!isSingle()) slots_.~Slots();
  }

  std::size_t size() const { return isSingle() ? 1 : slots_.size(); }
  bool empty() const { return size() == 0; }
  bool has(Key key) const {
    std::uint32_t const hash = hashOf(key);
    return isSingle() ? single_.slot.hash == hash : slots_.holds(slots_.lowerBound(hash), hash);
  }
  bool set(Key key) { return add(hashOf(key)); }
  // The number that orders the members, and set() for the keys of such numbers: fast when they ascend and are
  // greater than those of all members.
  static std::uint32_t hashOf(Key key) {
    return HashHelper::mix32(std::bit_cast<std::uint32_t>(key), seed());
  }
  void append(std::span<std::uint32_t const> hashes) {
    if (hashes.size() > 1) {
      if (isSingle()) manyIs();
      slots_.reserve(static_cast<std::uint32_t>(hashes.size()));
    }
    for (std::uint32_t const hash : hashes) {
      if (!isSingle() && !slots_.empty() && slots_.last().hash < hash) {
        slots_.append(hash);
      } else {
        add(hash);
      }
    }
  }
  bool erase(Key key) {
    std::uint32_t const hash = hashOf(key);
    if (isSingle()) {
      if (single_.slot.hash != hash) return false;
      noneIs();
      return true;
    }
    Slot* const at = slots_.lowerBound(hash);
    if (!slots_.holds(at, hash)) return false;
    slots_.erase(at);
    if (slots_.size() == 1) singleIs(slots_.last().hash);
    return true;
  }
  void clear() { *this = HashSet2018(); }

  const_iterator begin() const { return const_iterator(isSingle() ? singleAt() : slots_.begin()); }
  const_iterator end() const { return const_iterator(isSingle() ? singleEnd() : slots_.end()); }
  // The last member of a walk. REQUIRES: not empty.
  Key last() const { return keyOf(isSingle() ? single_.slot.hash : slots_.last().hash); }
  const_iterator iteratorFrom(Key key) const {
    std::uint32_t const hash = hashOf(key);
    if (isSingle()) return const_iterator(single_.slot.hash >= hash ? singleAt() : singleEnd());
    return const_iterator(slots_.from(slots_.lowerBound(hash)));
  }
  const_iterator iteratorAfter(Key key) const {
    auto at = iteratorFrom(key);
    if (at != end() && *at == key) ++at;
    return at;
  }

 private:
  // Lies where else the pointer to the slots does. Its mark is odd, as the low half of no such pointer is.
  static constexpr std::uint32_t kSingle = 1;
  struct Single {
    std::uint32_t mark;
    Slot slot;
  };
  static_assert(sizeof(Single) == sizeof(Slots) && std::endian::native == std::endian::little);

  static std::uint32_t seed() { return Seed ^ HashHelper::hashSeed32(); }
  static Key keyOf(std::uint32_t hash) { return std::bit_cast<Key>(HashHelper::unmix32(hash, seed())); }

  bool isSingle() const {
    std::uint32_t mark = 0;
    std::memcpy(&mark, static_cast<void const*>(this), sizeof(mark));
    return mark == kSingle;
  }
  Slots::Iterator singleAt() const { return Slots::Iterator(singleSlot(), singleSlot() + 1); }
  Slots::Iterator singleEnd() const { return Slots::Iterator(singleSlot() + 1, singleSlot() + 1); }
  Slot* singleSlot() const { return const_cast<Slot*>(&single_.slot); }
  void noneIs() { new (&slots_) Slots(); }
  void singleIs(std::uint32_t hash) {
    slots_.~Slots();
    new (&single_) Single{kSingle, {hash}};
  }
  void manyIs() {
    std::uint32_t const hash = single_.slot.hash;
    noneIs();
    slots_.append(hash);
  }

  bool add(std::uint32_t hash) {
    if (isSingle()) {
      if (single_.slot.hash == hash) return false;
      manyIs();
    } else if (!slots_.ownsMemory()) {
      singleIs(hash);
      return true;
    }
    Slot* const at = slots_.lowerBound(hash);
    if (slots_.holds(at, hash)) return false;
    slots_.insert(at, hash, [](Slot const&) { return false; });
    return true;
  }

  union {
    Slots slots_;
    Single single_;
  };
};

}  // namespace Vex
