// What stands in the hardware, as the writer of the hardware keeps it: one collection for each table
// instance, over all units. The writer owns it and writes it; inspection tools read it. Its scratchpad holds
// the version applied last, stored after each record.
//
// InLifImageEntry, 112 bytes, written by the writer of the hardware, keyed by `key`:
//
//   offset  width  field           default
//   0       u16    key.unitId      0xFFFF
//   2       2      key.reserved2   0
//   4       u32    key.entryKey    0
//   8       96     entry           the default log entry
//   104     u64    logVersion      0        version of the record that was applied
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Asic/LogVersion.h"
#include "Asic/UnitId.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "Shoal/ShoalMap.h"

namespace LoamTunnelNiLib {

struct InLifImageKey {
  static constexpr bool kFormatsAsText = true;

  Asic::UnitId unitId = Asic::kNoUnit;
  std::uint16_t reserved2 = 0;
  InLifModelEntryKey entryKey{};

  constexpr InLifImageKey() noexcept = default;
  constexpr InLifImageKey(Asic::UnitId unit, InLifModelEntryKey key) noexcept : unitId(unit), entryKey(key) {}

  friend constexpr bool operator==(InLifImageKey const&, InLifImageKey const&) noexcept = default;
  friend constexpr auto operator<=>(InLifImageKey const&, InLifImageKey const&) noexcept = default;
  std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix32(unitId, entryKey.hash(seed));
  }
  std::string text() const { return std::to_string(unitId) + ':' + std::to_string(entryKey.value()); }
};
static_assert(sizeof(InLifImageKey) == 8);
static_assert(offsetof(InLifImageKey, unitId) == 0);
static_assert(offsetof(InLifImageKey, reserved2) == 2);
static_assert(offsetof(InLifImageKey, entryKey) == 4);
static_assert(std::has_unique_object_representations_v<InLifImageKey>);

struct InLifImageEntry {
  InLifImageKey key{};
  InLifModelLogEntry entry{};
  Asic::LogVersion logVersion{};

  bool isEq(InLifImageEntry const& other) const noexcept {
    return key == other.key && logVersion == other.logVersion && entry.isEq(other.entry);
  }
};
static_assert(sizeof(InLifImageEntry) == 112);
static_assert(offsetof(InLifImageEntry, key) == 0);
static_assert(offsetof(InLifImageEntry, entry) == 8);
static_assert(offsetof(InLifImageEntry, logVersion) == 104);
static_assert(std::is_standard_layout_v<InLifImageEntry> && std::is_trivially_copyable_v<InLifImageEntry>);

}  // namespace LoamTunnelNiLib

template <>
struct Shoal::RecordTraits<LoamTunnelNiLib::InLifImageEntry> {
  using Record = LoamTunnelNiLib::InLifImageEntry;
  using Key = LoamTunnelNiLib::InLifImageKey;
  static Key key(Record const& record) noexcept { return record.key; }
  static constexpr char const* typeName = "LoamTunnelNiLib::InLifImage";
  static constexpr std::uint64_t layout = Shoal::layoutSignature(
      {sizeof(Record), 0, 4, 8, 104, sizeof(LoamTunnelNiLib::InLifModelLogEntry), 16, 20, 32, 36, 85, 89});
};

namespace LoamTunnelNiLib {

// The image of one table instance; the writer of the hardware mounts it.
struct InLifImage {
  using Map = Shoal::ShoalMap<InLifImageEntry, InLifImageKey>;
  // Sixteen full units, and with every unit some room.
  static constexpr std::uint32_t kMaxEntries = 1u << 20;
};

}  // namespace LoamTunnelNiLib
