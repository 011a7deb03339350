// The key of the resource table of VLAN edit profiles: one VlanEditResourceKey, 544 bytes at offset 0,
// written by the client that writes an entry. The default asks for no profile.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "LoamTunnelNiLib/VlanEditResourceKey.h"

namespace LoamTunnelNiLib {

struct IveResourceTableEntryKey {
  static constexpr bool kFormatsAsText = true;

  VlanEditResourceKey vlanEdit{};

  IveResourceTableEntryKey() noexcept = default;
  explicit IveResourceTableEntryKey(VlanEditResourceKey const& vlanEditGiven) noexcept
      : vlanEdit(vlanEditGiven) {}

  // The key of one edit of frames that come in one form; each further form is said behind it:
  // of(TagFormat::untagged, one).with(tagFormat(TagKind::customer), another).
  static IveResourceTableEntryKey of(TagFormat format, VlanOp const& edit) noexcept {
    return IveResourceTableEntryKey().with(format, edit);
  }
  IveResourceTableEntryKey with(TagFormat format, VlanOp const& edit) const noexcept {
    IveResourceTableEntryKey key = *this;
    key.vlanEdit.ops[format] = edit;
    return key;
  }

  // Whether the key differs from the default.
  explicit operator bool() const noexcept { return static_cast<bool>(vlanEdit); }
  bool isEq(IveResourceTableEntryKey const& other) const noexcept { return vlanEdit.isEq(other.vlanEdit); }
  std::uint32_t hash(std::uint32_t seed) const noexcept { return vlanEdit.hash(seed); }
  friend bool operator==(IveResourceTableEntryKey const& a, IveResourceTableEntryKey const& b) noexcept {
    return a.isEq(b);
  }
  friend std::strong_ordering operator<=>(IveResourceTableEntryKey const& a,
                                          IveResourceTableEntryKey const& b) noexcept {
    return a.vlanEdit <=> b.vlanEdit;
  }
  std::string text() const { return vlanEdit.text(); }
};

static_assert(sizeof(IveResourceTableEntryKey) == 544);
static_assert(offsetof(IveResourceTableEntryKey, vlanEdit) == 0);
static_assert(std::is_standard_layout_v<IveResourceTableEntryKey> &&
              std::is_trivially_copyable_v<IveResourceTableEntryKey> &&
              std::has_unique_object_representations_v<IveResourceTableEntryKey>);

}  // namespace LoamTunnelNiLib
