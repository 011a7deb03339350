#pragma once
// What the linkages want of the entry that stood for a key before an operation: whether one did, and which
// resources it used. A commit takes these from the log before it writes there, instead of a copy of the whole
// entry.
#include <fmt/format.h>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"

namespace LoamInLif {

struct OldEntry {
  bool present = false;
  LoamTunnelNiLib::InLifModelResourceKeys rsrcKeys{};

  OldEntry() = default;
  explicit OldEntry(LoamTunnelNiLib::InLifModelResourceKeys const& keys) : present(true), rsrcKeys(keys) {}
  /// An entry that equals a default one stands for no entry.
  explicit OldEntry(LoamTunnelNiLib::InLifModelEntry const& entry)
      : present(static_cast<bool>(entry)), rsrcKeys(entry.rsrcKeys) {}

  explicit operator bool() const { return present; }
};

}  // namespace LoamInLif

template <>
struct fmt::formatter<LoamInLif::OldEntry> : fmt::formatter<LoamTunnelNiLib::InLifModelResourceKeys> {
  template <class Context>
  auto format(LoamInLif::OldEntry const& oldEntry, Context& context) const {
    return oldEntry.present
               ? fmt::formatter<LoamTunnelNiLib::InLifModelResourceKeys>::format(oldEntry.rsrcKeys, context)
               : fmt::format_to(context.out(), "none");
  }
};
