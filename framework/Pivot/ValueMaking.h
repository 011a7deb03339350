// How a tool that does not know a type makes a value of it: from a text, or as a pointer to an object that it
// has at hand. ValueType.h puts these functions into the description of each type.
//
// A text gives numbers, truth values, strings, enumerators by the name that they print, what is made from a
// string (interface ids), and what is a number under a name of its own (keys, versions). Structs of several
// fields are set field by field, through the places that their records tell.
#pragma once

#include <charconv>
#include <concepts>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "Pivot/Node.h"
#include "Vex/Text.h"

namespace Pivot::Impl {

template <class T>
std::shared_ptr<void> makeValue() {
  return std::make_shared<T>();
}

template <std::integral T>
bool numberFromText(T& value, std::string_view text) {
  bool const hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  T number{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, hex ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  value = number;
  return true;
}

// A number under a name of its own: value() gives what it is made from.
template <class T>
concept NamedNumber = requires(T const& object) {
  T(object.value());
  requires std::integral<std::remove_cvref_t<decltype(object.value())>>;
};
template <class T>
inline constexpr bool isNamedEnum = std::is_enum_v<T>&& fmt::is_formattable<T>::value;
template <class T>
inline constexpr bool hasText =
    std::is_integral_v<T> || isNamedEnum<T> || std::is_constructible_v<T, std::string_view> || NamedNumber<T>;

template <class T>
bool fromText(void* value, std::string_view text) {
  T& object = *static_cast<T*>(value);
  if constexpr (std::is_same_v<T, bool>) {
    if (text != "true" && text != "false") return false;
    object = text == "true";
    return true;
  } else if constexpr (std::is_integral_v<T>) {
    return numberFromText(object, text);
  } else if constexpr (isNamedEnum<T>) {
    for (unsigned number = 0; number < 256; ++number) {
      if (fmt::format("{}", static_cast<T>(number)) != text) continue;
      object = static_cast<T>(number);
      return true;
    }
    return false;
  } else if constexpr (std::is_constructible_v<T, std::string_view>) {
    try {
      object = T(text);
      return true;
    } catch (std::invalid_argument const&) {
      return false;
    }
  } else {
    std::remove_cvref_t<decltype(object.value())> number{};
    if (!numberFromText(number, text)) return false;
    object = T(number);
    return true;
  }
}

// T: a pointer to a node, plain or counted.
template <class T>
bool pointTo(void* value, Node* object) {
  using Pointee = std::remove_reference_t<decltype(*std::declval<T>())>;
  auto* const aimed = dynamic_cast<Pointee*>(object);
  if (aimed == nullptr && object != nullptr) return false;
  *static_cast<T*>(value) = T(aimed);
  return true;
}

}  // namespace Pivot::Impl
