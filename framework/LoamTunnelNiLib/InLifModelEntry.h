// An entry of the three InLif tables, as a client hands it in and gets it back: a plain value that is copied
// whole. 768 bytes:
//
//   offset  width  field     written by
//   0       96     logEntry  the client's bytes by the client, the rest by the table
//   96      672    rsrcKeys  the client
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"

namespace LoamTunnelNiLib {

struct LOAM_FRAMEWORK_EXPORT InLifModelEntry {
  static constexpr bool kFormatsAsText = true;

  InLifModelLogEntry logEntry{};
  InLifModelResourceKeys rsrcKeys{};

  // False for an entry that equals a default one. Reads answer with such an entry for a key that they do not
  // find.
  explicit operator bool() const noexcept;
  bool isEq(InLifModelEntry const& other) const noexcept {
    return logEntry.isEq(other.logEntry) && rsrcKeys.isEq(other.rsrcKeys);
  }
  friend bool operator==(InLifModelEntry const& a, InLifModelEntry const& b) noexcept { return a.isEq(b); }
  std::string text() const;
};

static_assert(sizeof(InLifModelEntry) == 768);
static_assert(offsetof(InLifModelEntry, logEntry) == 0);
static_assert(offsetof(InLifModelEntry, rsrcKeys) == 96);
static_assert(std::is_standard_layout_v<InLifModelEntry> && std::is_trivially_copyable_v<InLifModelEntry>);

}  // namespace LoamTunnelNiLib
