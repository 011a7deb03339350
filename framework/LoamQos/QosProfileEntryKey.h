// The key under which a QoS profile is asked for: the interface whose traffic it marks and polices. The empty
// interface names no profile.
//
// Stored in the shared records, so its layout is fixed:
//
//   offset  width  field   written by
//   0       8      intfId  the client that writes an entry
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Wirekit/IntfId.h"

namespace LoamQos {

struct QosProfileEntryKey {
  static constexpr bool kFormatsAsText = true;

  Wirekit::IntfId intfId{};

  QosProfileEntryKey() noexcept = default;
  explicit QosProfileEntryKey(Wirekit::IntfId intfIdGiven) noexcept : intfId(intfIdGiven) {}

  // The key of an interface by its name, "Ethernet1". Throws as IntfId does.
  static QosProfileEntryKey ofInterface(std::string_view name) {
    return QosProfileEntryKey(Wirekit::IntfId(name));
  }

  bool isEq(QosProfileEntryKey const& other) const noexcept { return intfId.isEq(other.intfId); }
  std::uint32_t hash(std::uint32_t seed) const noexcept { return intfId.hash(seed); }
  friend bool operator==(QosProfileEntryKey const& a, QosProfileEntryKey const& b) noexcept {
    return a.isEq(b);
  }
  friend auto operator<=>(QosProfileEntryKey const& a, QosProfileEntryKey const& b) noexcept {
    return a.intfId <=> b.intfId;
  }
  std::string text() const { return intfId.name(); }
};

static_assert(sizeof(QosProfileEntryKey) == 8);
static_assert(std::is_standard_layout_v<QosProfileEntryKey> &&
              std::is_trivially_copyable_v<QosProfileEntryKey>);

}  // namespace LoamQos
