// The set of keys beside HashMap2018, with the same order and the same guarantee for walks that resume by key
// (H1 there).
//
// Keys of 32 bits are kept as their hash: the hash is a bijection, so it orders, identifies and gives back
// the key, and a member costs 4 bytes. Thousands of sets of entry keys live in the linkages.
#pragma once

#include <absl/container/btree_set.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "Cobble/Slab.h"
#include "Vex/HashMap2018.h"

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
  // With a comparison that the tree knows to be one of numbers it searches a node from its front, without the
  // branches of a bisection that nobody can foresee: a third of the time of an insert.
  using Tree = absl::btree_set<std::uint32_t, std::less<std::uint32_t>, Cobble::NodeAllocator<std::uint32_t>>;

 public:
  using Key = KeyType;
  using Probe = KeyType;

  class const_iterator {
   public:
    explicit const_iterator(Tree::const_iterator at) : at_(at) {}
    Key operator*() const { return keyOf(*at_); }
    const_iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(const_iterator const& other) const { return at_ == other.at_; }

   private:
    Tree::const_iterator at_;
  };
  using iterator = const_iterator;

  std::size_t size() const { return tree_.size(); }
  bool empty() const { return tree_.empty(); }
  bool has(Key key) const { return tree_.contains(hashOf(key)); }
  bool set(Key key) { return tree_.insert(hashOf(key)).second; }
  // An ordered fill: the number that orders the members, and set() for the key of such a number, fast when it
  // is greater than those of all members.
  static std::uint32_t hashOf(Key key) {
    return HashHelper::mix32(std::bit_cast<std::uint32_t>(key), seed());
  }
  void append(std::uint32_t hash) { tree_.insert(tree_.end(), hash); }
  bool erase(Key key) { return tree_.erase(hashOf(key)) != 0; }
  void clear() { tree_.clear(); }

  const_iterator begin() const { return const_iterator(tree_.begin()); }
  const_iterator end() const { return const_iterator(tree_.end()); }
  // The last member of a walk. REQUIRES: not empty.
  Key last() const { return keyOf(*tree_.rbegin()); }
  const_iterator iteratorFrom(Key key) const { return const_iterator(tree_.lower_bound(hashOf(key))); }
  const_iterator iteratorAfter(Key key) const { return const_iterator(tree_.upper_bound(hashOf(key))); }

 private:
  static std::uint32_t seed() { return Seed ^ HashHelper::hashSeed32(); }
  static Key keyOf(std::uint32_t hash) { return std::bit_cast<Key>(HashHelper::unmix32(hash, seed())); }

  Tree tree_;
};

}  // namespace Vex
