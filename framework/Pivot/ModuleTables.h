// The tables of a module, put together at compile time from the records of its classes:
//
//   PIVOT_DEFINE_MODULE(_Foo_..._vexModule, FooRecord, BarRecord)
//
// and checked there: within a class ids ascend, names are unique, and the first id is 2 above a multiple of
// 128; all classes name this module as theirs, in the order of their indices.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "Pivot/Entity.h"
#include "Pivot/HideMe.h"
#include "Pivot/RootRecords.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueType.h"

namespace Pivot {

namespace Inspect {

// Ids ascend from 2 above a multiple of 128, and names are unique.
constexpr bool wellFormed(std::span<AttributeRecord const> rows) {
  if (!rows.empty() && rows.front().id % 128 != 2) return false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0 && rows[i - 1].id >= rows[i].id) return false;
    for (std::size_t j = 0; j < i; ++j) {
      if (std::string_view(rows[i].name) == rows[j].name) return false;
    }
  }
  return true;
}

// The members of a list without their repetitions, in the order of their first appearance.
template <class T, std::size_t Capacity>
struct Pool {
  std::array<T, Capacity> members{};
  std::size_t size = 0;

  template <class Same>
  constexpr void add(T const& member, Same same) {
    for (std::size_t i = 0; i < size; ++i) {
      if (same(members[i], member)) return;
    }
    members[size++] = member;
  }
};

// How the objects of a root class are held.
template <class Root>
inline constexpr PointerInterface pointerInterface{
    TypeNamed<Root>::name,
    [](void const* object) { intrusive_ptr_add_ref(static_cast<Node const*>(object)); },
    [](void const* object) { intrusive_ptr_release(static_cast<Node const*>(object)); }};

template <class T>
constexpr PointerInterface const* rootOf() {
  if constexpr (std::is_base_of_v<Vex::Entity, T>) {
    return &pointerInterface<Vex::Entity>;
  } else if constexpr (std::is_base_of_v<Node, T>) {
    return &pointerInterface<Node>;
  } else {
    return nullptr;
  }
}

}  // namespace Inspect

template <class... Record>
struct ModuleTables {
  static constexpr std::size_t typeCount = sizeof...(Record);
  static constexpr std::size_t attributeCount = (Record::attributes.size() + ...);
  static constexpr ModuleInspectData const* self =
      std::array{TypeNamed<typename Record::Type>::record.module...}[0];

  static constexpr auto attributes = [] {
    std::array<AttributeRecord, attributeCount> all{};
    std::size_t at = 0;
    auto const add = [&](std::span<AttributeRecord const> rows) {
      for (AttributeRecord const& row : rows) all[at++] = row;
    };
    (add(Record::attributes), ...);
    return all;
  }();
  static constexpr std::array constructors{Record::constructor...};

  // Calls f with every argument list, then g with every name and type of an attribute or argument.
  template <class F>
  static constexpr void eachList(F f) {
    for (auto const& constructor : constructors) {
      if (constructor.arguments != nullptr) f(constructor.arguments);
    }
    for (AttributeRecord const& row : attributes) {
      if (row.arguments != nullptr) f(row.arguments);
    }
  }
  template <class F>
  static constexpr void eachPair(F f) {
    for (AttributeRecord const& row : attributes) {
      f(row.name, row.type);
      if (row.keyType != nullptr) f(nullptr, row.keyType);
    }
    eachList([&](Argument const* list) {
      for (; list->name != nullptr; ++list) f(list->name, list->type);
    });
  }
  static constexpr std::size_t listCount = [] {
    std::size_t count = 0;
    eachList([&](Argument const*) { ++count; });
    return count;
  }();
  static constexpr std::size_t pairCount = [] {
    std::size_t count = 0;
    eachPair([&](char const*, ValueType const*) { ++count; });
    return count;
  }();

  static constexpr auto argumentLists = [] {
    Inspect::Pool<Argument const*, listCount> pool;
    eachList([&](Argument const* list) {
      pool.add(list, [](Argument const* a, Argument const* b) { return a == b; });
    });
    return pool;
  }();
  static constexpr auto typePool = [] {
    Inspect::Pool<ValueType const*, pairCount> pool;
    eachPair([&](char const*, ValueType const* type) {
      if (type != nullptr) pool.add(type, [](ValueType const* a, ValueType const* b) { return a == b; });
    });
    return pool;
  }();
  static constexpr auto namePool = [] {
    Inspect::Pool<char const*, pairCount> pool;
    eachPair([&](char const* name, ValueType const*) {
      if (name != nullptr) {
        pool.add(name, [](char const* a, char const* b) { return std::string_view(a) == b; });
      }
    });
    return pool;
  }();

  static constexpr bool same(TypeData const& a, TypeData const& b) {
    return a.module == b.module && a.index == b.index;
  }
  template <class R>
  static constexpr TypeData baseOf() {
    if constexpr (std::is_void_v<typename R::Base>) {
      return {};
    } else {
      return TypeNamed<typename R::Base>::record;
    }
  }
  static constexpr std::array bases{baseOf<Record>()...};
  static constexpr auto imports = [] {
    Inspect::Pool<TypeData, typeCount + pairCount> pool;
    auto const add = [&](TypeData const& type) {
      if (type.module != nullptr && type.module != self) pool.add(type, &same);
    };
    for (TypeData const& base : bases) add(base);
    for (std::size_t i = 0; i < typePool.size; ++i) add(typePool.members[i]->record);
    return pool;
  }();
  static constexpr TypeRef refOf(TypeData const& type) {
    if (type.module == nullptr) return {};
    if (type.module == self) return {TypeRef::Where::own, type.index};
    for (std::uint32_t i = 0; i < imports.size; ++i) {
      if (same(imports.members[i], type)) return {TypeRef::Where::import, i};
    }
    return {};
  }

  static constexpr std::array<char const*, typeCount> names{TypeNamed<typename Record::Type>::name...};
  static constexpr auto types = [] {
    constexpr std::array<std::size_t, typeCount> counts{Record::attributes.size()...};
    std::array<TypeRecord, typeCount> all{};
    std::size_t first = 0;
    for (std::size_t i = 0; i < typeCount; ++i) {
      all[i] = {names[i], static_cast<std::uint32_t>(counts[i]), static_cast<std::uint32_t>(first),
                constructors[i].arguments, refOf(bases[i])};
      first += counts[i];
    }
    return all;
  }();
  template <class R>
  static constexpr TypeFunctions functionsOf() {
    using Adapter = HideMe<typename R::Type, R>;
    return {Inspect::rootOf<typename R::Type>(),
            R::constructor.construct == nullptr ? nullptr : &Adapter::genericIfConstructFromCtorArgs,
            &Adapter::inspectOperation, &Adapter::genericIfIterator};
  }
  static constexpr std::array<TypeFunctions, typeCount> functions{functionsOf<Record>()...};

  static_assert((Inspect::wellFormed(Record::attributes) && ...),
                "ids ascend from 2 above a multiple of 128, and names are unique");
  static constexpr bool indicesStandInOrder = [] {
    std::uint32_t index = 0;
    for (TypeData const& type : {TypeNamed<typename Record::Type>::record...}) {
      if (!same(type, {self, index++})) return false;
    }
    return true;
  }();
  static_assert(indicesStandInOrder, "each class names this module and its place in it");

  static constexpr ModuleRecords tables(char const* name) {
    return {{name, 1, typeCount, names.data()},
            types,
            attributes,
            {argumentLists.members.data(), argumentLists.size},
            {typePool.members.data(), typePool.size},
            {namePool.members.data(), namePool.size},
            {imports.members.data(), imports.size},
            functions};
  }
};

}  // namespace Pivot

// At global scope of a source file: the module, declared before with PIVOT_DECLARE_MODULE, and its
// announcement when the library is loaded.
#define PIVOT_DEFINE_MODULE(symbol, ...) PIVOT_DEFINE_MODULE_OF(symbol, Pivot::ModuleTables<__VA_ARGS__>)
// The same from the tables, a ModuleTables.
#define PIVOT_DEFINE_MODULE_OF(symbol, ...)                                                          \
  constinit Pivot::ModuleRecords const symbol = __VA_ARGS__::tables(#symbol);                        \
  namespace {                                                                                        \
  [[maybe_unused]] bool const announced##symbol = (Pivot::ModuleInspectData::loaded(&symbol), true); \
  }
// What a class of a module answers when it is asked for its record.
#define PIVOT_DEFINE_TYPE_DATA(Class)       \
  Pivot::TypeData Class::typeData() const { \
    return Pivot::TypeNamed<Class>::record; \
  }
// Within Pivot::Inspect: the row of a public data member of a plain struct.
#define PIVOT_FIELD(Struct, id, member) stored<&Struct::member>(id, #member, offsetof(Struct, member))
