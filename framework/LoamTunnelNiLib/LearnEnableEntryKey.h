// The key under which a table asks whether addresses are learned: one interface, or one VLAN on it.
//
// Stored in the shared records, so its layout is fixed:
//
//   offset  width  field                  default  written by
//   0       8      intfOrVlanId.intfId    empty    the client that writes an entry
//   8       u8     intfOrVlanId.kind      0        the client
//   9       7      intfOrVlanId.reserved9 0        nobody
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

// Names an interface or a VLAN by an interface id and a byte that says which of the two it is.
struct IntfOrVlanId {
  static constexpr bool kFormatsAsText = true;
  static constexpr std::uint8_t kIntf = 0;
  static constexpr std::uint8_t kVlan = 1;

  Wirekit::IntfId intfId{};
  std::uint8_t kind = kIntf;
  std::uint8_t reserved9[7] = {};

  IntfOrVlanId() noexcept = default;
  explicit IntfOrVlanId(Wirekit::IntfId intfIdGiven, std::uint8_t kindGiven = kIntf) noexcept
      : intfId(intfIdGiven), kind(kindGiven) {}

  bool isEq(IntfOrVlanId const& other) const noexcept {
    return intfId.isEq(other.intfId) && kind == other.kind;
  }
  std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix32(kind, intfId.hash(seed));
  }
  friend bool operator==(IntfOrVlanId const& a, IntfOrVlanId const& b) noexcept { return a.isEq(b); }
  friend std::strong_ordering operator<=>(IntfOrVlanId const& a, IntfOrVlanId const& b) noexcept {
    auto const byIntf = a.intfId <=> b.intfId;
    return byIntf != 0 ? byIntf : a.kind <=> b.kind;
  }
  std::string text() const { return intfId.name() + '/' + std::to_string(kind); }
};

struct LearnEnableEntryKey {
  static constexpr bool kFormatsAsText = true;

  IntfOrVlanId intfOrVlanId{};

  LearnEnableEntryKey() noexcept = default;
  explicit LearnEnableEntryKey(IntfOrVlanId idGiven) noexcept : intfOrVlanId(idGiven) {}
  explicit LearnEnableEntryKey(Wirekit::IntfId intfId, std::uint8_t kind = IntfOrVlanId::kIntf) noexcept
      : intfOrVlanId(intfId, kind) {}

  // The key of an interface, "Ethernet1.100", and that of a VLAN, "Vlan7", by name. They throw as IntfId does.
  static LearnEnableEntryKey ofInterface(std::string_view name) {
    return LearnEnableEntryKey(Wirekit::IntfId(name));
  }
  static LearnEnableEntryKey ofVlan(std::string_view name) {
    return LearnEnableEntryKey(Wirekit::IntfId(name), IntfOrVlanId::kVlan);
  }

  bool isEq(LearnEnableEntryKey const& other) const noexcept { return intfOrVlanId.isEq(other.intfOrVlanId); }
  std::uint32_t hash(std::uint32_t seed) const noexcept { return intfOrVlanId.hash(seed); }
  friend bool operator==(LearnEnableEntryKey const& a, LearnEnableEntryKey const& b) noexcept {
    return a.isEq(b);
  }
  friend std::strong_ordering operator<=>(LearnEnableEntryKey const& a,
                                          LearnEnableEntryKey const& b) noexcept {
    return a.intfOrVlanId <=> b.intfOrVlanId;
  }
  std::string text() const { return intfOrVlanId.text(); }
};

static_assert(sizeof(IntfOrVlanId) == 16 && sizeof(LearnEnableEntryKey) == 16);
static_assert(offsetof(IntfOrVlanId, intfId) == 0);
static_assert(offsetof(IntfOrVlanId, kind) == 8);
static_assert(offsetof(IntfOrVlanId, reserved9) == 9);
static_assert(std::is_standard_layout_v<LearnEnableEntryKey> &&
              std::is_trivially_copyable_v<LearnEnableEntryKey>);

}  // namespace LoamTunnelNiLib
