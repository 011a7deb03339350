// The key under which a VLAN edit profile is asked for: for each form in which a frame's tags can come in,
// what is done to them.
//
// Stored in the shared records, so its layout is fixed. 34 slots of 16 bytes, one for each TagFormat, 544
// bytes:
//
//   offset  width  field          written by
//   0       u8     action         the client that writes an entry
//   1       u8     tagsRemoved    the client: how many tags are taken off, 0 to 2
//   2       u8     tagsAdded      the client: how many are put on, 0 to 2
//   3       u8     keepPriority   the client: 1 carries the priority of the old outer tag into the new one
//   4       u16    outerVlan      the client
//   6       u16    outerTpid      the client
//   8       u16    innerVlan      the client
//   10      u16    innerTpid      the client
//   12      u8     outerPriority  the client
//   13      u8     innerPriority  the client
//   14      u16    editHint       the client
//
// Every byte of a slot carries data, so that slots may be compared and hashed as two 64-bit words.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "Cobble/Export.h"
#include "Vex/Array.h"
#include "Vex/HashHelper.h"

namespace LoamTunnelNiLib {

// The kinds of a single tag. A priority tag is a customer tag with VLAN 0.
enum class TagKind : std::uint8_t { priority = 0, customer = 1, service = 2, old = 3, user = 4 };

// How a frame comes in. The numbers index the slots of the key and are stored: they never change or return.
//   0        no tag
//   1 - 5    one tag, by its kind
//   6 - 30   two tags, by the kinds of the outer and the inner one
//   31       three tags or more
//   32       no Ethernet type, a length instead
//   33       anything else
enum class TagFormat : std::uint8_t { untagged = 0, manyTags = 31, lengthField = 32, other = 33 };
inline constexpr std::size_t kTagFormatCount = 34;

constexpr TagFormat tagFormat(TagKind outer) noexcept {
  return static_cast<TagFormat>(1 + static_cast<unsigned>(outer));
}
constexpr TagFormat tagFormat(TagKind outer, TagKind inner) noexcept {
  return static_cast<TagFormat>(6 + static_cast<unsigned>(outer) * 5 + static_cast<unsigned>(inner));
}
static_assert(tagFormat(TagKind::user, TagKind::user) == static_cast<TagFormat>(30));

// The name of a format as people write it: "untagged", "customer", "service+customer", "manyTags"... Empty
// for a number above 33.
LOAM_FRAMEWORK_EXPORT std::string tagFormatName(TagFormat format);

enum class VlanAction : std::uint8_t { none = 0, drop = 1, edit = 2 };

struct VlanOp {
  VlanAction action = VlanAction::none;
  std::uint8_t tagsRemoved = 0;
  std::uint8_t tagsAdded = 0;
  std::uint8_t keepPriority = 0;
  std::uint16_t outerVlan = 0;
  std::uint16_t outerTpid = 0;
  std::uint16_t innerVlan = 0;
  std::uint16_t innerTpid = 0;
  std::uint8_t outerPriority = 0;
  std::uint8_t innerPriority = 0;
  std::uint16_t editHint = 0;

  // The slot as two words; what is compared and hashed.
  constexpr std::array<std::uint64_t, 2> words() const noexcept {
    return std::bit_cast<std::array<std::uint64_t, 2>>(*this);
  }
  std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix64(words()[1], Vex::HashHelper::mix64(words()[0], seed));
  }
  friend constexpr bool operator==(VlanOp const& a, VlanOp const& b) noexcept {
    return a.words() == b.words();
  }
  friend constexpr auto operator<=>(VlanOp const& a, VlanOp const& b) noexcept {
    return a.words() <=> b.words();
  }
};

static_assert(sizeof(VlanOp) == 16);
static_assert(offsetof(VlanOp, action) == 0);
static_assert(offsetof(VlanOp, tagsRemoved) == 1);
static_assert(offsetof(VlanOp, tagsAdded) == 2);
static_assert(offsetof(VlanOp, keepPriority) == 3);
static_assert(offsetof(VlanOp, outerVlan) == 4);
static_assert(offsetof(VlanOp, outerTpid) == 6);
static_assert(offsetof(VlanOp, innerVlan) == 8);
static_assert(offsetof(VlanOp, innerTpid) == 10);
static_assert(offsetof(VlanOp, outerPriority) == 12);
static_assert(offsetof(VlanOp, innerPriority) == 13);
static_assert(offsetof(VlanOp, editHint) == 14);
static_assert(std::has_unique_object_representations_v<VlanOp>);

struct LOAM_FRAMEWORK_EXPORT VlanEditResourceKey {
  static constexpr bool kFormatsAsText = true;
  using Ops = Vex::Array<VlanOp, TagFormat, kTagFormatCount>;

  Ops ops{};

  // Whether any slot differs from the default: whether the key asks for a profile at all.
  explicit operator bool() const noexcept;
  bool isEq(VlanEditResourceKey const& other) const noexcept {
    return std::memcmp(&ops, &other.ops, sizeof ops) == 0;
  }
  // Mixes the slots that differ from the default, each with its place; a key of one edit costs one step,
  // not 34.
  std::uint32_t hash(std::uint32_t seed) const noexcept { return ops.hash(seed); }
  friend bool operator==(VlanEditResourceKey const& a, VlanEditResourceKey const& b) noexcept {
    return a.isEq(b);
  }
  friend std::strong_ordering operator<=>(VlanEditResourceKey const& a,
                                          VlanEditResourceKey const& b) noexcept {
    return a.ops <=> b.ops;
  }
  // The slots that differ from the default: "service+customer: edit -2 +1 8100:12/3", joined by ", "; "none"
  // without one.
  std::string text() const;
};

static_assert(sizeof(VlanEditResourceKey) == 544);
static_assert(offsetof(VlanEditResourceKey, ops) == 0);
static_assert(std::is_standard_layout_v<VlanEditResourceKey> &&
              std::is_trivially_copyable_v<VlanEditResourceKey> &&
              std::has_unique_object_representations_v<VlanEditResourceKey>);

}  // namespace LoamTunnelNiLib
