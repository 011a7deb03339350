// A fixed array of N values indexed by a type of its own, such as an enumeration. Plain data: it may lie in a
// shared record.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

#include "Vex/HashHelper.h"
#include "Vex/KeyTraits.h"

namespace Vex {

template <class Value, class Index, std::size_t N>
struct Array {
  // Public for the sake of aggregate initialisation and standard layout.
  Value slots_[N]{};

  static constexpr std::size_t size() { return N; }
  // REQUIRES: the index is below N.
  constexpr Value& operator[](Index index) { return slots_[static_cast<std::size_t>(index)]; }
  constexpr Value const& operator[](Index index) const { return slots_[static_cast<std::size_t>(index)]; }
  constexpr Value* begin() { return slots_; }
  constexpr Value* end() { return slots_ + N; }
  constexpr Value const* begin() const { return slots_; }
  constexpr Value const* end() const { return slots_ + N; }

  constexpr auto operator<=>(Array const&) const = default;
  constexpr bool operator==(Array const&) const = default;
  constexpr bool isEq(Array const& other) const { return *this == other; }

  // Mixes the slots that are not default, each with its place; the array of defaults hashes to the seed
  // alone.
  std::uint32_t hash(std::uint32_t seed) const {
    std::uint32_t hash = seed;
    for (std::size_t i = 0; i < N; ++i) {
      if (slots_[i] == Value()) continue;
      hash = HashHelper::mix32(hash ^ static_cast<std::uint32_t>(i), KeyTraits<Value>::hash(slots_[i], seed));
    }
    return hash;
  }
};

}  // namespace Vex
