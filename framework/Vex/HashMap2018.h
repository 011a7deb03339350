// The hash collections behind every keyed attribute: a map whose node holds or computes its key, and a set of
// keys.
//
// A thin shell over a flat array in the order of (hash, key), which tells what finding, adding and growing
// cost (OrderedSlots.h). An order that depends on nothing but the keys gives the one guarantee which the
// usual hash table lacks:
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

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "Vex/HashHelper.h"
#include "Vex/KeyTraits.h"
#include "Vex/OrderedSlots.h"

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
  using Slots = OrderedSlots<Node>;
  using Slot = typename Slots::Slot;

  // A key as it was handed in, by value or by reference.
  struct Held {
    typename Traits::Probe key;
  };

  template <class NodeRef>
  class Iterator {
   public:
    Iterator() = default;
    explicit Iterator(typename Slots::Iterator at) : at_(at) {}
    NodeRef& operator*() const { return at_->node; }
    NodeRef* operator->() const { return &at_->node; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(Iterator const& other) const { return at_ == other.at_; }

   private:
    typename Slots::Iterator at_;
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

  std::size_t size() const { return slots_.size(); }
  bool empty() const { return slots_.empty(); }
  bool has(Probe key) const { return lookup(key) != nullptr; }

  // The value, or null.
  Value* find(Probe key) {
    Slot* const at = lookup(key);
    return at == nullptr ? nullptr : &at->node.value();
  }
  Value const* find(Probe key) const { return const_cast<HashMap2018*>(this)->find(key); }
  // The value, or a value-initialised one (a null pointer, 0).
  Value get(Probe key) const {
    Value const* value = find(key);
    return value == nullptr ? Value() : *value;
  }

  // For who asks for a key a little later: starts fetching from memory where a search for it begins. Changes nothing.
  void prefetch(Probe key) const { slots_.prefetch(hashOf(key)); }
  // The value of the first member with the key's hash, or null: nearly always that of the key itself, found without a
  // look at any key, which may lie far away. For who fetches it ahead.
  Value const* findByHash(Probe key) const {
    std::uint32_t const hash = hashOf(key);
    Slot* const at = slots_.lowerBound(hash);
    return slots_.holds(at, hash) ? &at->node.value() : nullptr;
  }

  // Adds the value unless the key is there. Gives the member's value, new or old, and whether it was added.
  std::pair<Value*, bool> insert(Key key, Value value) requires(Node::kHoldsKey) {
    return insertNode(key, std::move(key), std::move(value));
  }
  // For a map whose values know their key. The value is left as it was when nothing was added.
  std::pair<Value*, bool> insert(Value&& value) requires(!Node::kHoldsKey) {
    auto&& key = Node::keyOf(value);
    return insertNode(key, std::move(value));
  }
  std::pair<Value*, bool> insert(Value const& value) requires(!Node::kHoldsKey) {
    Value copy(value);
    return insert(std::move(copy));
  }

  // An ordered fill: whoever brings values in the order of their keys' places (the hash first, then the key)
  // asks isBehindAll and appends, both without a search and, as long as no hash occurs twice, without a look
  // at a key. `hash` is the key's hashOf. Whoever knows how many come reserves room for them before.
  static std::uint32_t hashOf(Probe key) {
    std::uint32_t const hash = Traits::hash(key, Seed ^ HashHelper::hashSeed32());
    return hash == Slots::kNoHash ? hash - 1 : hash;
  }
  // Whether the key's place is behind that of every member.
  bool isBehindAll(std::uint32_t hash, Probe key) const {
    if (slots_.empty()) return true;
    Slot const& last = slots_.last();
    return last.hash < hash || (last.hash == hash && Traits::less(last.node.key(), key));
  }
  void reserve(std::size_t more) { slots_.reserve(static_cast<std::uint32_t>(more)); }
  // Adds a value unless its key is there; fast when the key isBehindAll.
  void append(std::uint32_t hash, Value value) requires(!Node::kHoldsKey) {
    if (isBehindAll(hash, Node::keyOf(value))) {
      slots_.append(hash, std::move(value));
    } else {
      insert(std::move(value));
    }
  }

  // Adds or replaces; returns the value that was replaced.
  std::optional<Value> set(Key key, Value value) requires(Node::kHoldsKey) {
    auto [slot, added] = insertNode(key, std::move(key), std::move(value));
    if (added) return std::nullopt;
    return std::exchange(*slot, std::move(value));
  }
  std::optional<Value> set(Value value) requires(!Node::kHoldsKey) {
    auto [slot, added] = insert(std::move(value));
    if (added) return std::nullopt;
    return std::exchange(*slot, std::move(value));
  }

  // Removes a member and returns its value: what the value's destructor does finds the collection whole.
  std::optional<Value> take(Probe key) {
    Slot* const at = lookup(key);
    if (at == nullptr) return std::nullopt;
    std::optional<Value> value(std::move(at->node.value()));
    slots_.erase(at);
    return value;
  }
  bool erase(Probe key) { return take(key).has_value(); }
  // Empties the collection first and destroys the members after.
  void clear() { Slots const dying(std::move(slots_)); }

  iterator begin() { return iterator(slots_.begin()); }
  iterator end() { return iterator(slots_.end()); }
  const_iterator begin() const { return const_iterator(slots_.begin()); }
  const_iterator end() const { return const_iterator(slots_.end()); }
  // The first member at the key's place or after it, and strictly after it; the key need not be a member.
  iterator iteratorFrom(Probe key) { return iterator(slots_.from(lowerBound(key))); }
  const_iterator iteratorFrom(Probe key) const { return const_iterator(slots_.from(lowerBound(key))); }
  iterator iteratorAfter(Probe key) { return iterator(slots_.from(upperBound(key))); }
  const_iterator iteratorAfter(Probe key) const { return const_iterator(slots_.from(upperBound(key))); }

 private:
  // Which members of the key's hash belong before it; isNotAfter goes past the key as well.
  static auto isBefore(Probe key) {
    return [probe = Held{key}](Slot const& slot) { return Traits::less(slot.node.key(), probe.key); };
  }
  static auto isNotAfter(Probe key) {
    return [probe = Held{key}](Slot const& slot) { return !Traits::less(probe.key, slot.node.key()); };
  }
  Slot* lowerBound(Probe key) const { return slots_.lowerBound(hashOf(key), isBefore(key)); }
  Slot* upperBound(Probe key) const { return slots_.lowerBound(hashOf(key), isNotAfter(key)); }

  // The member's slot, or null. Two keys of one hash are rare, so the first one of the hash is asked whether
  // it is the same key before any is asked for its order.
  Slot* lookup(Probe key) const {
    std::uint32_t const hash = hashOf(key);
    Slot* at = slots_.lowerBound(hash);
    if (!slots_.holds(at, hash)) return nullptr;
    if (Traits::same(at->node.key(), key)) return at;
    at = slots_.lowerBound(hash, isBefore(key));
    return slots_.holds(at, hash) && Traits::same(at->node.key(), key) ? at : nullptr;
  }

  // One search for "is it there, and if not, where does it go". What the node is made of is taken only when
  // the key is new; `key` may be a part of it.
  template <class... Args>
  std::pair<Value*, bool> insertNode(Probe key, Args&&... args) {
    std::uint32_t const hash = hashOf(key);
    Slot* at = slots_.lowerBound(hash, isBefore(key));
    bool const added = !slots_.holds(at, hash) || !Traits::same(at->node.key(), key);
    if (added) at = slots_.insert(at, hash, isBefore(key), std::forward<Args>(args)...);
    return {&at->node.value(), added};
  }

  Slots slots_;
};

// A map with no seed of its own.
template <class Key, class Value>
using HashMap = HashMap2018<Hm2018NE<Key, Value>, 0>;

}  // namespace Vex

// The set of keys comes along.
#include "Vex/HashSet2018.h"
