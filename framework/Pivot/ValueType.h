// How the type of a value is told to inspection: valueType<T>, made from the name that TypeNamed<T> gives.
//
// Each room names its types beside its records, with PIVOT_NAME_TYPE; a type without a name does not compile
// as part of a record. Pointers are named after what they point to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueMaking.h"
#include "Vex/Text.h"

namespace Pivot {

// `name`, the full name of the type, and `record`, where its record stands: TypeData{} for a type without
// one.
template <class T>
struct TypeNamed;

// At global scope; the type is given with its namespace, a record as {&module, index}.
#define PIVOT_NAME_TYPE_AS(Type, text, ...)                    \
  template <>                                                  \
  struct Pivot::TypeNamed<Type> {                              \
    static constexpr char const* name = text;                  \
    static constexpr ::Pivot::TypeData record = {__VA_ARGS__}; \
  };
#define PIVOT_NAME_TYPE(Type, ...) PIVOT_NAME_TYPE_AS(Type, #Type, __VA_ARGS__)

namespace Impl {

// The texts one after another, as an array that ends with a null.
template <std::size_t Length>
constexpr std::array<char, Length + 1> joined(std::initializer_list<std::string_view> parts) {
  std::array<char, Length + 1> text{};
  std::size_t at = 0;
  for (std::string_view part : parts) {
    for (char c : part) text[at++] = c;
  }
  return text;
}

template <class Pointee>
struct PointerNamed {
  using Object = std::remove_const_t<Pointee>;
  static constexpr std::string_view object = TypeNamed<Object>::name;
  static constexpr std::string_view constness = std::is_const_v<Pointee> ? " const" : "";
  static constexpr TypeData record = TypeNamed<Object>::record;
};

// A value through its record: {name: value, ...}.
LOAM_FRAMEWORK_EXPORT String recordText(TypeData record, void const* value);

}  // namespace Impl

template <class T>
struct TypeNamed<Ptr<T>> : Impl::PointerNamed<T> {
  using Named = Impl::PointerNamed<T>;
  static constexpr auto text = Impl::joined<11 + Named::object.size() + Named::constness.size() + 1>(
      {"Pivot::Ptr<", Named::object, Named::constness, ">"});
  static constexpr char const* name = text.data();
};
template <class T>
struct TypeNamed<T*> : Impl::PointerNamed<T> {
  using Named = Impl::PointerNamed<T>;
  static constexpr auto text = Impl::joined<Named::object.size() + Named::constness.size() + 1>(
      {Named::object, Named::constness, "*"});
  static constexpr char const* name = text.data();
};

template <class T>
inline constexpr bool isNodePointer = false;
template <class T>
inline constexpr bool isNodePointer<T*> = std::is_base_of_v<Node, T>;
template <class T>
inline constexpr bool isNodePointer<Ptr<T>> = true;

namespace Impl {

template <class T>
Node* nodeOf(void const* value) {
  T const& pointer = *static_cast<T const*>(value);
  // An inspector may change what the family only reads: it is told by the rows what it may do.
  if constexpr (std::is_pointer_v<T>) {
    return const_cast<Node*>(static_cast<Node const*>(pointer));
  } else {
    return const_cast<Node*>(static_cast<Node const*>(pointer.get()));
  }
}

template <class T>
String textOf(void const* value) {
  if constexpr (isNodePointer<T>) {
    Node const* const node = nodeOf<T>(value);
    return node == nullptr ? "null" : node->typeData().name();
  } else if constexpr (fmt::is_formattable<T>::value) {
    return fmt::format("{}", *static_cast<T const*>(value));
  } else {
    static_assert(TypeNamed<T>::record.module != nullptr, "a value prints by itself or through its record");
    return recordText(TypeNamed<T>::record, value);
  }
}

}  // namespace Impl

template <class T>
constexpr ValueType valueTypeMade() {
  ValueType type{TypeNamed<T>::name,
                 sizeof(T),
                 TypeNamed<T>::record,
                 nullptr,
                 &Impl::textOf<T>,
                 nullptr,
                 nullptr,
                 nullptr};
  if constexpr (std::is_default_constructible_v<T>) type.make = &Impl::makeValue<T>;
  if constexpr (isNodePointer<T>) {
    type.node = &Impl::nodeOf<T>;
    type.pointTo = &Impl::pointTo<T>;
  } else if constexpr (Impl::hasText<T>) {
    type.fromText = &Impl::fromText<T>;
  }
  return type;
}
template <class T>
inline constexpr ValueType valueType = valueTypeMade<T>();

}  // namespace Pivot

PIVOT_NAME_TYPE(bool)
PIVOT_NAME_TYPE(double)
PIVOT_NAME_TYPE(std::uint8_t)
PIVOT_NAME_TYPE(std::uint16_t)
PIVOT_NAME_TYPE(std::uint32_t)
PIVOT_NAME_TYPE(std::uint64_t)
PIVOT_NAME_TYPE(Pivot::String)
