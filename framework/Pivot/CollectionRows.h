// The rows of keyed collections, and how the adapter and its iterators reach into them.
//
// An Access names the class that holds the collection and gives, as static functions over an object of it:
//
//   has, count            membership and number of members
//   read                  hands over the member of a key, or what a read of a missing key gives
//   write, remove         fooIs and fooDel; missing where inspection may not change the collection
//   arguments             where fooIs makes the member: what from. write finds their array as the value
//   first, from, after    the key to go on with: of all, at a key or behind it, strictly behind it
//
// and kReportsMissing, whether code 28 tells a missing member from an empty one. MapAccess and SetAccess
// serve the collections of Vex/HashMap2018.h.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "Pivot/CollectionIterator.h"
#include "Pivot/FieldRows.h"
#include "Vex/Exceptions.h"
#include "Vex/HashMap2018.h"

namespace Pivot::Inspect {

// The walk by key over a collection with begin, iteratorFrom and iteratorAfter; Collection is its accessor.
template <auto Collection>
struct KeyedWalk {
  using Object = ClassOf<Collection>;
  using CollectionType = ResultOf<Collection>;
  using Key = typename CollectionType::Key;

  static CollectionType const& of(Object const& object) { return std::invoke(Collection, object); }
  static bool has(Object const& object, Key const& key) { return of(object).has(key); }
  static std::size_t count(Object const& object) { return of(object).size(); }
  static std::optional<Key> first(Object const& object) { return keyAt(of(object), of(object).begin()); }
  static std::optional<Key> from(Object const& object, Key const& key) {
    return keyAt(of(object), of(object).iteratorFrom(key));
  }
  static std::optional<Key> after(Object const& object, Key const& key) {
    return keyAt(of(object), of(object).iteratorAfter(key));
  }

 private:
  template <class At>
  static std::optional<Key> keyAt(CollectionType const& collection, At at) {
    if (at == collection.end()) return std::nullopt;
    if constexpr (requires { typename CollectionType::NodeType; }) {
      return at->key();
    } else {
      return *at;
    }
  }
};

// A map: Get is foo(key), Is is fooIs(key, value), or fooIs(value) where the value knows its key, Del is
// fooDel(key).
template <auto Collection, auto Get, auto Is, auto Del, bool ReportsMissing = false>
struct MapAccess : KeyedWalk<Collection> {
  using typename KeyedWalk<Collection>::Object;
  using typename KeyedWalk<Collection>::Key;
  using Member = ResultOf<Get>;
  static constexpr bool kReportsMissing = ReportsMissing;

  static void read(OpResult& result, Object const& object, Key const& key) {
    opResultEncode<Member>(result, std::invoke(Get, object, key));
  }
  static void write(OpCall const& call) {
    if constexpr (ArgumentsOf<Is>::size == 2) {
      void const* const arguments[] = {call.key, call.value};
      callInto<Is>(call.result, call.object, arguments);
    } else {
      void const* const arguments[] = {call.value};
      callInto<Is>(call.result, call.object, arguments);
    }
  }
  static void remove(OpCall const& call) {
    void const* const arguments[] = {call.key};
    callInto<Del>(call.result, call.object, arguments);
  }
};

// A set: Is is fooIs(key), Del is fooDel(key). There is no value to read, so reads tell membership.
template <auto Collection, auto Is, auto Del>
struct SetAccess : KeyedWalk<Collection> {
  using typename KeyedWalk<Collection>::Object;
  using typename KeyedWalk<Collection>::Key;
  using Member = bool;
  static constexpr bool kReportsMissing = false;

  static void read(OpResult& result, Object const& object, Key const& key) {
    opResultEncode<bool>(result, KeyedWalk<Collection>::has(object, key));
  }
  static void write(OpCall const& call) {
    if (!given<bool>(call.value)) {
      Vex::GenericIfImpl::throwSetFalseValueException(call.type.module->name, call.type.name(),
                                                      call.attribute.name, call.attribute.id);
    }
    void const* const arguments[] = {call.key};
    callInto<Is>(call.result, call.object, arguments);
  }
  static void remove(OpCall const& call) {
    void const* const arguments[] = {call.key};
    callInto<Del>(call.result, call.object, arguments);
  }
};

// A collection that can only be read: Get is foo(key), Keys a function that lists the keys in ascending order.
template <auto Get, auto Keys>
struct ListedAccess {
  using Object = ClassOf<Get>;
  using Member = ResultOf<Get>;
  using Key = typename ResultOf<Keys>::value_type;
  static constexpr bool kReportsMissing = false;

  static std::size_t count(Object const& object) { return Keys(object).size(); }
  static bool has(Object const& object, Key const& key) { return from(object, key) == key; }
  static void read(OpResult& result, Object const& object, Key const& key) {
    opResultEncode<Member>(result, std::invoke(Get, object, key));
  }
  static std::optional<Key> first(Object const& object) {
    return at(Keys(object), [](auto const&) { return true; });
  }
  static std::optional<Key> from(Object const& object, Key const& key) {
    return at(Keys(object), [&](Key const& other) { return !(other < key); });
  }
  static std::optional<Key> after(Object const& object, Key const& key) {
    return at(Keys(object), [&](Key const& other) { return key < other; });
  }

 private:
  template <class Wanted>
  static std::optional<Key> at(std::vector<Key> const& keys, Wanted wanted) {
    auto const found = std::find_if(keys.begin(), keys.end(), wanted);
    return found == keys.end() ? std::nullopt : std::optional<Key>(*found);
  }
};

// The map's second size word. Our maps have one size; the word is that size, and stays at its largest value
// of 23 bits beyond it.
constexpr std::uint32_t secondSize(std::size_t count) {
  return static_cast<std::uint32_t>(std::min<std::size_t>(count, 0x7FFFFF));
}

template <class Access>
OpStatus operateCollection(OpCall const& call) {
  using Key = typename Access::Key;
  auto& object = objectAs<typename Access::Object>(call.object);
  switch (call.code) {
    case OpCode::readIfMember:
      if (Access::kReportsMissing && !Access::has(object, given<Key>(call.key))) return OpStatus::noMember;
      [[fallthrough]];
    case OpCode::read:
      Access::read(call.result, object, given<Key>(call.key));
      return OpStatus::done;
    case OpCode::write:
      if constexpr (requires { Access::write(call); }) {
        Access::write(call);
        return OpStatus::done;
      }
      return OpStatus::notAvailable;
    case OpCode::remove:
      if constexpr (requires { Access::remove(call); }) {
        Access::remove(call);
        return OpStatus::done;
      }
      return OpStatus::notAvailable;
    case OpCode::count:
      opResultEncode<std::uint32_t>(call.result, static_cast<std::uint32_t>(Access::count(object)));
      return OpStatus::done;
    case OpCode::secondSize:
      opResultEncode<std::uint32_t>(call.result, secondSize(Access::count(object)));
      return OpStatus::done;
    case OpCode::has:
      opResultEncode<bool>(call.result, Access::has(object, given<Key>(call.key)));
      return OpStatus::done;
    default:
      return OpStatus::notAvailable;
  }
}

template <class Access>
Vex::CollectionIteratorBase* iterateCollection(void* object, void const* startKey) {
  return new Vex::CollectionIterator<Access>(objectAs<typename Access::Object>(object),
                                             static_cast<typename Access::Key const*>(startKey));
}

template <class Access>
constexpr AttributeRecord collection(FieldId id, char const* name) {
  constexpr bool writable = requires(OpCall const& call) {
    Access::write(call);
  };
  Argument const* arguments = nullptr;
  if constexpr (requires { Access::arguments; }) arguments = Access::arguments;
  return {.id = id,
          .name = name,
          .kind = AttributeKind::collection,
          .writable = writable,
          .type = &valueType<typename Access::Member>,
          .keyType = &valueType<typename Access::Key>,
          .arguments = arguments,
          .operate = &operateCollection<Access>,
          .iterate = &iterateCollection<Access>};
}

}  // namespace Pivot::Inspect
