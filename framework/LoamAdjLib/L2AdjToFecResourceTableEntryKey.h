// The key under which a forwarding entry id (FEC) is asked for: the number of a layer 2 adjacency. 0 names no
// adjacency.
//
// Stored in the shared records, so its layout is fixed:
//
//   offset  width  field   written by
//   0       u32    adjId   the client that writes an entry
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Vex/HashHelper.h"

namespace LoamAdjLib {

struct L2AdjToFecResourceTableEntryKey {
  static constexpr bool kFormatsAsText = true;

  std::uint32_t adjId = 0;

  constexpr L2AdjToFecResourceTableEntryKey() noexcept = default;
  constexpr explicit L2AdjToFecResourceTableEntryKey(std::uint32_t adjIdGiven) noexcept : adjId(adjIdGiven) {}

  // The key of an adjacency by its number.
  static constexpr L2AdjToFecResourceTableEntryKey ofAdjacency(std::uint32_t number) noexcept {
    return L2AdjToFecResourceTableEntryKey(number);
  }

  bool isEq(L2AdjToFecResourceTableEntryKey const& other) const noexcept { return adjId == other.adjId; }
  std::uint32_t hash(std::uint32_t seed) const noexcept { return Vex::HashHelper::mix32(adjId, seed); }
  friend bool operator==(L2AdjToFecResourceTableEntryKey const&,
                         L2AdjToFecResourceTableEntryKey const&) noexcept = default;
  friend auto operator<=>(L2AdjToFecResourceTableEntryKey const&,
                          L2AdjToFecResourceTableEntryKey const&) noexcept = default;
  std::string text() const { return std::to_string(adjId); }
};

static_assert(sizeof(L2AdjToFecResourceTableEntryKey) == 4);
static_assert(std::is_standard_layout_v<L2AdjToFecResourceTableEntryKey> &&
              std::is_trivially_copyable_v<L2AdjToFecResourceTableEntryKey>);

}  // namespace LoamAdjLib
