// The accessor rule of attributes, once for every class.
//
// A setter that changes nothing publishes nothing; one that changes something publishes the field id, the key
// of a member and the old value where there was one. The change stands before it is published, and nothing
// here touches the attribute after the publication, so a subscriber may change it again, or bring its object
// to an end. Only delAll goes on after a publication: its caller keeps the object.
//
// The publisher may be null, for an object that publishes nothing. A map is a Vex::HashMap2018, a set a
// Vex::HashSet2018. The key and old pointers of a publication point to the map's Key and Value types.
#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "Pivot/Publisher.h"
#include "Pivot/RQueue.h"

namespace Pivot {

// Equality of two values of an attribute: by isEq where the type has it, else by ==.
template <class T>
bool isSame(T const& a, T const& b) {
  if constexpr (requires { a.isEq(b); }) {
    return a.isEq(b);
  } else {
    return a == b;
  }
}

inline bool isWatched(Publisher const* publisher) {
  return publisher != nullptr && publisher->hasSubscriber();
}

// fooIs(value) of a single attribute. Returns whether it changed.
template <class T>
bool attributeIs(Publisher* publisher, FieldId field, T& member, std::type_identity_t<T> value) {
  if (isSame(member, value)) return false;
  T const old = std::exchange(member, std::move(value));
  if (publisher != nullptr) publisher->publish(field, nullptr, &old);
  return true;
}

namespace Impl {

// The tail of both mapIs: slot is what insert gave, keyOf gives the key, which is copied only when somebody
// is told of it.
template <class Map, class KeyOf>
bool memberIs(Publisher* publisher, FieldId field, std::pair<typename Map::Value*, bool> slot,
              typename Map::Value value, KeyOf&& keyOf) {
  std::optional<typename Map::Value> old;
  if (!slot.second) {
    if (isSame(*slot.first, value)) return false;
    old = std::exchange(*slot.first, std::move(value));
  }
  if (isWatched(publisher)) {
    typename Map::Key const key = keyOf();
    publisher->publish(field, &key, old ? &*old : nullptr);
  }
  return true;
}

}  // namespace Impl

// fooIs(key, value) of a map that holds its keys. Returns whether it changed.
template <class Map>
bool mapIs(Publisher* publisher, FieldId field, Map& map, typename Map::Key const& key,
           typename Map::Value value) requires(Map::NodeType::kHoldsKey) {
  auto const slot = map.insert(key, value);
  return Impl::memberIs<Map>(publisher, field, slot, std::move(value),
                             [&]() -> typename Map::Key const& { return key; });
}

// fooIs(value) of a map whose values know their key. Pointer values are not null; the caller has refused null
// before.
template <class Map>
bool mapIs(Publisher* publisher, FieldId field, Map& map,
           typename Map::Value value) requires(!Map::NodeType::kHoldsKey) {
  auto const slot = map.insert(std::as_const(value));
  return Impl::memberIs<Map>(publisher, field, slot, std::move(value),
                             [&]() -> decltype(auto) { return Map::NodeType::keyOf(*slot.first); });
}

// foo(key): the member, or absent (null for pointers unless the caller names another value).
template <class Map>
typename Map::Value mapGet(Map const& map, typename Map::Probe key, typename Map::Value absent = {}) {
  typename Map::Value const* value = map.find(key);
  return value == nullptr ? absent : *value;
}

// fooDel(key): removes the member and returns it, or absent. The key may be the member's own.
template <class Map>
typename Map::Value mapDel(Publisher* publisher, FieldId field, Map& map, typename Map::Probe key,
                           typename Map::Value absent = {}) {
  if (!isWatched(publisher)) {
    std::optional<typename Map::Value> old = map.take(key);
    return old ? std::move(*old) : std::move(absent);
  }
  typename Map::Key const kept(key);
  std::optional<typename Map::Value> old = map.take(kept);
  if (!old) return absent;
  publisher->publish(field, &kept, &*old);
  return std::move(*old);
}

// fooIs(key) of a set. Returns whether the key was added.
template <class Set>
bool setIs(Publisher* publisher, FieldId field, Set& set, typename Set::Key const& key) {
  typename Set::Key const kept = key;
  if (!set.set(kept)) return false;
  if (publisher != nullptr) publisher->publish(field, &kept, nullptr);
  return true;
}

// fooDel(key) of a set. Returns whether the key was there.
template <class Set>
bool setDel(Publisher* publisher, FieldId field, Set& set, typename Set::Key const& key) {
  typename Set::Key const kept = key;
  if (!set.erase(kept)) return false;
  if (publisher != nullptr) publisher->publish(field, &kept, nullptr);
  return true;
}

// fooDelAll() of a map or set. Without a subscriber the collection is emptied in one step. With one, del(key)
// is called for each member that was there at the beginning and still is, so that each removal is seen; what
// a subscriber adds meanwhile stays.
template <class Collection, class Del>
void delAll(Publisher* publisher, Collection& collection, Del&& del) {
  if (!isWatched(publisher)) {
    collection.clear();
    return;
  }
  std::vector<typename Collection::Key> keys;
  keys.reserve(collection.size());
  for (auto&& member : collection) {
    if constexpr (
        requires { member.key(); } && requires { typename Collection::Value; }) {
      keys.push_back(member.key());
    } else {
      keys.push_back(member);
    }
  }
  for (auto const& key : keys) {
    if (collection.has(key)) del(key);
  }
}

// fooEnq and fooDeq of an indexed queue: they publish the field with the element's index.
template <class T>
std::uint32_t queueEnq(Publisher* publisher, FieldId field, RQueue<T>& queue,
                       std::type_identity_t<T> element) {
  std::uint32_t const index = queue.enq(std::move(element));
  if (publisher != nullptr) publisher->publish(field, &index, nullptr);
  return index;
}

template <class T>
T queueDeq(Publisher* publisher, FieldId field, RQueue<T>& queue) {
  if (queue.empty()) return T();
  std::uint32_t const index = queue.frontIndex();
  T const old = queue.deq();
  if (publisher != nullptr) publisher->publish(field, &index, &old);
  return old;
}

// fooDelAll: without a subscriber in one step, else element by element until the queue is empty.
template <class T>
void queueDelAll(Publisher* publisher, FieldId field, RQueue<T>& queue) {
  while (isWatched(publisher) && !queue.empty()) queueDeq(publisher, field, queue);
  queue.delAll();
}

}  // namespace Pivot
