// Which tags of a frame lead to an entry, where the entry's key alone does not say so.
//
// A key is made of the port and of the VLAN of a member, the number of a sub-interface, or 0. So the program finds a tagged
// member, a sub-interface whose VLAN is its number, and a routed port by their keys. What is left takes a match: a member
// without a tag or with a priority tag, a sub-interface of another VLAN, and one that means an inner tag as well.
#pragma once

#include <array>
#include <bit>
#include <cstring>
#include <optional>

#include "Asic/UnitId.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "hardware/kernel/KernelLayout.h"

namespace LoamHardware {

inline constexpr std::uint32_t kPortBits = 0xFFFFC000;

inline std::optional<InlifMatch> matchOf(std::size_t table, Asic::UnitId unit, InlifEntry const& entry) {
  InlifMatch match{entry.key & kPortBits, unit, entry.vlan, 0, 0};
  if (table == 1) {
    if ((entry.state >> 1 & 3) == kInlifTagged) return std::nullopt;
    match.outer = 0;
    return match;
  }
  if (table != 2 || (entry.innerVlan == 0 && entry.vlan == (entry.key & ~kPortBits))) return std::nullopt;
  match.inner = entry.innerVlan;
  return match;
}

static_assert(offsetof(InlifEntry, vlan) == offsetof(LoamTunnelNiLib::InLifModelLogEntry, client));
static_assert(offsetof(InlifEntry, learnEnable) ==
              offsetof(LoamTunnelNiLib::InLifModelLogEntry, learnEnable));
static_assert(offsetof(InlifEntry, qosProfile) == offsetof(LoamTunnelNiLib::InLifModelLogEntry, qosProfile));
static_assert(offsetof(InlifEntry, version) == sizeof(LoamTunnelNiLib::InLifModelLogEntry));

inline InlifEntry kernelEntry(LoamTunnelNiLib::InLifModelLogEntry const& fields, std::uint64_t version) {
  InlifEntry entry{};
  std::memcpy(&entry, &fields, sizeof fields);
  entry.version = version;
  return entry;
}

inline LoamTunnelNiLib::InLifModelLogEntry fieldsOf(InlifEntry const& entry) {
  std::array<std::byte, sizeof(LoamTunnelNiLib::InLifModelLogEntry)> bytes;
  std::memcpy(bytes.data(), &entry, sizeof bytes);
  return std::bit_cast<LoamTunnelNiLib::InLifModelLogEntry>(bytes);
}

}  // namespace LoamHardware
