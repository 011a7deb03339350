// The key under which the data of an ingress logical interface is asked for: an interface, and the system
// module that it enters by.
//
// Stored in the shared records, so its layout is fixed:
//
//   offset  width  field       default  written by
//   0       8      intfId      empty    the client that writes an entry
//   8       u16    moduleId    2048     the client; 0 to 2047 name a system module, 2048 none
//   10      6      reserved10  0        nobody
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Vex/HashHelper.h"
#include "Wirekit/IntfId.h"

namespace LoamTunnelNiLib {

struct InLifDataEntryKey {
  static constexpr bool kFormatsAsText = true;
  static constexpr std::uint16_t kNoModule = 2048;

  Wirekit::IntfId intfId{};
  std::uint16_t moduleId = kNoModule;
  std::uint8_t reserved10[6] = {};

  InLifDataEntryKey() noexcept = default;
  explicit InLifDataEntryKey(Wirekit::IntfId intfIdGiven, std::uint16_t moduleIdGiven = kNoModule) noexcept
      : intfId(intfIdGiven), moduleId(moduleIdGiven) {}

  // The key of an interface or a VLAN by its name, "Ethernet1.100" or "Vlan7". Throws as IntfId does.
  static InLifDataEntryKey ofInterface(std::string_view name, std::uint16_t moduleId = kNoModule) {
    return InLifDataEntryKey(Wirekit::IntfId(name), moduleId);
  }

  bool isEq(InLifDataEntryKey const& other) const noexcept {
    return intfId.isEq(other.intfId) && moduleId == other.moduleId;
  }
  std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix32(moduleId, intfId.hash(seed));
  }
  friend bool operator==(InLifDataEntryKey const& a, InLifDataEntryKey const& b) noexcept {
    return a.isEq(b);
  }
  friend std::strong_ordering operator<=>(InLifDataEntryKey const& a, InLifDataEntryKey const& b) noexcept {
    auto const byIntf = a.intfId <=> b.intfId;
    return byIntf != 0 ? byIntf : a.moduleId <=> b.moduleId;
  }
  std::string text() const { return intfId.name() + '/' + std::to_string(moduleId); }
};

static_assert(sizeof(InLifDataEntryKey) == 16);
static_assert(offsetof(InLifDataEntryKey, intfId) == 0);
static_assert(offsetof(InLifDataEntryKey, moduleId) == 8);
static_assert(offsetof(InLifDataEntryKey, reserved10) == 10);
static_assert(std::is_standard_layout_v<InLifDataEntryKey> &&
              std::is_trivially_copyable_v<InLifDataEntryKey>);

}  // namespace LoamTunnelNiLib
