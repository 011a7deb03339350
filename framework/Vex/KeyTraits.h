// How a type serves as a key of a hash collection: its hash under a seed, its order among equal hashes, and
// the form in which a caller may ask for it. A class with hash(seed) and operator<=> (or <) needs nothing of
// its own here.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Vex/HashHelper.h"

namespace Vex {

template <class Key>
struct KeyTraits {
  // What lookups take.
  using Probe = Key const&;

  static std::uint32_t hash(Probe key, std::uint32_t seed) { return key.hash(seed); }
  static bool less(Probe a, Probe b) { return a < b; }
  // Whether neither is less. A type that can compare for equality does it in one step.
  static bool same(Probe a, Probe b) {
    if constexpr (std::equality_comparable<Key>) {
      return a == b;
    } else {
      return !(a < b) && !(b < a);
    }
  }
};

template <class Key>
requires(std::integral<Key> || std::is_enum_v<Key>) struct KeyTraits<Key> {
  using Probe = Key;

  static std::uint32_t hash(Key key, std::uint32_t seed) {
    if constexpr (sizeof(Key) <= 4) {
      return HashHelper::mix32(static_cast<std::uint32_t>(key), seed);
    } else {
      return HashHelper::mix64(static_cast<std::uint64_t>(key), seed);
    }
  }
  static bool less(Key a, Key b) { return a < b; }
  static bool same(Key a, Key b) { return a == b; }
};

// A view suffices to look for a string: no string is built for it.
template <>
struct KeyTraits<std::string> {
  using Probe = std::string_view;

  static std::uint32_t hash(std::string_view key, std::uint32_t seed) {
    return HashHelper::bytes(key.data(), key.size(), seed);
  }
  static bool less(std::string_view a, std::string_view b) { return a < b; }
  static bool same(std::string_view a, std::string_view b) { return a == b; }
};

// A key that is nothing but 32 bits, such as a strong id type around one integer.
template <class Key>
concept Key32 = sizeof(Key) == sizeof(std::uint32_t) &&
                std::is_trivially_copyable_v<Key>&& std::has_unique_object_representations_v<Key>;

}  // namespace Vex
