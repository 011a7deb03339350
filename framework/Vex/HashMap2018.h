// The hash collections behind every keyed attribute: a map whose node holds or computes its key, and a set of
// keys.
//
// A thin shell over a B-tree ordered by (hash, key). An order that depends on nothing but the keys gives the
// one guarantee which the usual hash table lacks:
//
// H1. A walk that resumes by key (iteratorFrom, iteratorAfter) delivers each member that stays for the whole
//     walk exactly once, whatever is added, removed or replaced between two steps.
//
// The hash of a key is taken under the collection's own seed XORed with HashHelper::hashSeed32(), so the
// order of a walk differs between collections and between processes; nothing may rest on it. An empty
// collection owns no memory.
//
// A pointer, reference or iterator into a collection holds until the next change of that collection.
#pragma once

#include <absl/container/btree_set.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "Cobble/Slab.h"
#include "Vex/HashHelper.h"
#include "Vex/KeyTraits.h"

namespace Vex {

// Node of a map that holds the key with the value.
template <class KeyType, class ValueType>
class Hm2018NE {
 public:
  using Key = KeyType;
  using Value = ValueType;
  static constexpr bool kHoldsKey = true;

  Hm2018NE(Key key, Value value) : key_(std::move(key)), value_(std::move(value)) {}

  Key const& key() const { return key_; }
  Value& value() { return value_; }
  Value const& value() const { return value_; }

 private:
  Key key_;
  Value value_;
};

// Node of a map whose key is computed from the value: KeyFunktor{}(value) returns the key or a reference to
// it. The key of a value does not change while the value is a member.
template <class ValueType, class KeyFunktor>
class Hm2018NI {
 public:
  using Key = std::remove_cvref_t<std::invoke_result_t<KeyFunktor, ValueType const&>>;
  using Value = ValueType;
  static constexpr bool kHoldsKey = false;

  explicit Hm2018NI(Value value) : value_(std::move(value)) {}

  static decltype(auto) keyOf(Value const& value) { return KeyFunktor{}(value); }
  decltype(auto) key() const { return keyOf(value_); }
  Value& value() { return value_; }
  Value const& value() const { return value_; }

 private:
  Value value_;
};

// Node is a Hm2018NE or a Hm2018NI; Seed is the collection's own constant.
template <class Node, std::uint32_t Seed>
class HashMap2018 {
  using Traits = KeyTraits<typename Node::Key>;

  // The hash is kept beside the node: nearly every comparison is settled by it without a look at the key.
  struct Member {
    template <class... Args>
    explicit Member(std::uint32_t h, Args&&... args) : hash(h), node(std::forward<Args>(args)...) {}

    std::uint32_t hash;
    // Mutable for the value's sake; the key never changes.
    mutable Node node;
  };
  struct Place {
    std::uint32_t hash;
    typename Traits::Probe key;
  };
  struct Less {
    using is_transparent = void;
    bool operator()(Member const& a, Member const& b) const {
      return a.hash != b.hash ? a.hash < b.hash : Traits::less(a.node.key(), b.node.key());
    }
    bool operator()(Member const& a, Place const& b) const {
      return a.hash != b.hash ? a.hash < b.hash : Traits::less(a.node.key(), b.key);
    }
    bool operator()(Place const& a, Member const& b) const {
      return a.hash != b.hash ? a.hash < b.hash : Traits::less(a.key, b.node.key());
    }
  };
  using Tree = absl::btree_set<Member, Less, Cobble::NodeAllocator<Member>>;

  template <class NodeRef>
  class Iterator {
   public:
    Iterator() = default;
    explicit Iterator(typename Tree::const_iterator at) : at_(at) {}
    NodeRef& operator*() const { return at_->node; }
    NodeRef* operator->() const { return &at_->node; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(Iterator const& other) const { return at_ == other.at_; }
    bool operator!=(Iterator const& other) const { return at_ != other.at_; }

   private:
    typename Tree::const_iterator at_;
  };

 public:
  using NodeType = Node;
  using Key = typename Node::Key;
  using Value = typename Node::Value;
  using Probe = typename Traits::Probe;
  // Iterators deliver nodes: it->key(), it->value().
  using iterator = Iterator<Node>;
  using const_iterator = Iterator<Node const>;

  HashMap2018() = default;

  std::size_t size() const { return tree_.size(); }
  bool empty() const { return tree_.empty(); }
  bool has(Probe key) const { return lookup(key) != tree_.end(); }

  // The value, or null.
  Value* find(Probe key) {
    auto at = lookup(key);
    return at == tree_.end() ? nullptr : &at->node.value();
  }
  Value const* find(Probe key) const { return const_cast<HashMap2018*>(this)->find(key); }
  // The value, or a value-initialised one (a null pointer, 0).
  Value get(Probe key) const {
    Value const* value = find(key);
    return value == nullptr ? Value() : *value;
  }

  // Adds the value unless the key is there. Gives the member's value, new or old, and whether it was added.
  std::pair<Value*, bool> insert(Key key, Value value) requires(Node::kHoldsKey) {
    auto [at, added] = place(key, [&](auto hint, std::uint32_t hash) {
      return tree_.emplace_hint(hint, hash, std::move(key), std::move(value));
    });
    return {&at->node.value(), added};
  }
  // For a map whose values know their key. The value is left as it was when nothing was added.
  std::pair<Value*, bool> insert(Value&& value) requires(!Node::kHoldsKey) {
    auto&& key = Node::keyOf(value);
    auto [at, added] = place(
        key, [&](auto hint, std::uint32_t hash) { return tree_.emplace_hint(hint, hash, std::move(value)); });
    return {&at->node.value(), added};
  }
  std::pair<Value*, bool> insert(Value const& value) requires(!Node::kHoldsKey) {
    Value copy(value);
    return insert(std::move(copy));
  }

  // An ordered fill: whoever brings values in the order of their keys' places (the hash first, then the key)
  // asks isBehindAll and appends, both without a descent and, as long as no hash occurs twice, without a look at
  // a key. `hash` is the key's hashOf.
  static std::uint32_t hashOf(Probe key) { return Traits::hash(key, Seed ^ HashHelper::hashSeed32()); }
  // Whether the key's place is behind that of every member.
  bool isBehindAll(std::uint32_t hash, Probe key) const {
    return tree_.empty() || Less()(*tree_.rbegin(), Place{hash, key});
  }
  // Adds a value unless its key is there; fast when the key isBehindAll.
  void append(std::uint32_t hash, Value value) requires(!Node::kHoldsKey) {
    tree_.emplace_hint(tree_.end(), hash, std::move(value));
  }

  // Adds or replaces; returns the value that was replaced.
  std::optional<Value> set(Key key, Value value) requires(Node::kHoldsKey) {
    auto [at, added] = place(key, [&](auto hint, std::uint32_t hash) {
      return tree_.emplace_hint(hint, hash, std::move(key), std::move(value));
    });
    if (added) return std::nullopt;
    return std::exchange(at->node.value(), std::move(value));
  }
  std::optional<Value> set(Value value) requires(!Node::kHoldsKey) {
    auto [slot, added] = insert(std::move(value));
    if (added) return std::nullopt;
    return std::exchange(*slot, std::move(value));
  }

  // Removes a member and returns its value: what the value's destructor does finds the collection whole.
  std::optional<Value> take(Probe key) {
    auto at = lookup(key);
    if (at == tree_.end()) return std::nullopt;
    std::optional<Value> value(std::move(at->node.value()));
    tree_.erase(at);
    return value;
  }
  bool erase(Probe key) { return take(key).has_value(); }
  // Empties the collection first and destroys the members after.
  void clear() {
    Tree dying;
    dying.swap(tree_);
  }

  iterator begin() { return iterator(tree_.begin()); }
  iterator end() { return iterator(tree_.end()); }
  const_iterator begin() const { return const_iterator(tree_.begin()); }
  const_iterator end() const { return const_iterator(tree_.end()); }
  // The first member at the key's place or after it, and strictly after it; the key need not be a member.
  iterator iteratorFrom(Probe key) { return iterator(tree_.lower_bound(placeOf(key))); }
  const_iterator iteratorFrom(Probe key) const { return const_iterator(tree_.lower_bound(placeOf(key))); }
  iterator iteratorAfter(Probe key) { return iterator(tree_.upper_bound(placeOf(key))); }
  const_iterator iteratorAfter(Probe key) const { return const_iterator(tree_.upper_bound(placeOf(key))); }

 private:
  static Place placeOf(Probe key) { return Place{hashOf(key), key}; }

  typename Tree::iterator lookup(Probe key) { return tree_.find(placeOf(key)); }
  typename Tree::const_iterator lookup(Probe key) const { return tree_.find(placeOf(key)); }

  // One descent for "is it there, and if not, where does it go".
  template <class Emplace>
  std::pair<typename Tree::iterator, bool> place(Probe key, Emplace&& emplace) {
    Place const wanted = placeOf(key);
    auto at = tree_.lower_bound(wanted);
    if (at != tree_.end() && !Less()(wanted, *at)) return {at, false};
    return {emplace(at, wanted.hash), true};
  }

  Tree tree_;
};

// A map with no seed of its own.
template <class Key, class Value>
using HashMap = HashMap2018<Hm2018NE<Key, Value>, 0>;

}  // namespace Vex

// The set of keys comes along.
#include "Vex/HashSet2018.h"
