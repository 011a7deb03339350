#pragma once
// What the linkages want of the entry that stood for a key before an operation: whether one did, and which
// resources it used. A commit takes these from the log before it writes there, instead of a copy of the whole
// entry. An entry that equals a default one stands for no entry.
#include <fmt/format.h>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"

namespace LoamInLif {

struct OldEntry {
  bool present = false;
  LoamTunnelNiLib::InLifModelResourceKeys rsrcKeys{};

  OldEntry() = default;
  OldEntry(LoamTunnelNiLib::InLifModelLogEntry const& logEntry,
           LoamTunnelNiLib::InLifModelResourceKeys const& keys)
      : present(!logEntry.isEq({}) || !keys.isEq({})), rsrcKeys(keys) {}
  explicit OldEntry(LoamTunnelNiLib::InLifModelEntry const& entry)
      : OldEntry(entry.logEntry, entry.rsrcKeys) {}

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
