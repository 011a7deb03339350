// The key of an entry of the three InLif tables: 32 bits that only the client understands. 0 is a key like
// any other.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Vex/HashHelper.h"

namespace LoamTunnelNiLib {

class InLifModelEntryKey {
 public:
  static constexpr bool kFormatsAsText = true;

  constexpr InLifModelEntryKey() noexcept = default;
  constexpr explicit InLifModelEntryKey(std::uint32_t value) noexcept : value_(value) {}

  constexpr std::uint32_t value() const noexcept { return value_; }
  constexpr bool isEq(InLifModelEntryKey const& other) const noexcept { return value_ == other.value_; }
  constexpr std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix32(value_, seed);
  }
  friend constexpr bool operator==(InLifModelEntryKey const&, InLifModelEntryKey const&) noexcept = default;
  friend constexpr auto operator<=>(InLifModelEntryKey const&, InLifModelEntryKey const&) noexcept = default;
  std::string text() const { return std::to_string(value_); }

 private:
  std::uint32_t value_ = 0;
};

static_assert(sizeof(InLifModelEntryKey) == 4);
static_assert(std::is_standard_layout_v<InLifModelEntryKey> &&
              std::is_trivially_copyable_v<InLifModelEntryKey>);

}  // namespace LoamTunnelNiLib
