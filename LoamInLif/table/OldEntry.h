// What the linkages want of the entry that stood for a key before an operation: whether one did, and which
// resources it used. A commit takes these from the log before it writes there, instead of a copy of the whole
// entry. An entry that equals a default one stands for no entry.
#pragma once

#include <cstdint>
#include <optional>

#include "LoamInLif/Kinds.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "Vex/Trace.h"

namespace LoamInLif {

struct OldEntry {
  static constexpr bool kFormatsAsText = true;

  bool present = false;
  std::uint32_t usedResources = 0;  // kindsUsedBy(rsrcKeys)
  LoamTunnelNiLib::InLifModelResourceKeys rsrcKeys{};
  // The rest of the entry, for the traces of the linkages: there only while some facility traces that far.
  std::optional<LoamTunnelNiLib::InLifModelLogEntry> logEntry;

  OldEntry() = default;
  OldEntry(LoamTunnelNiLib::InLifModelLogEntry const& log,
           LoamTunnelNiLib::InLifModelResourceKeys const& keys)
      : present(!log.isEq({}) || !keys.isEq({})), usedResources(kindsUsedBy(keys)) {
    if (usedResources != 0) rsrcKeys = keys;
    if (Vex::TraceControl::anyEnabled(8)) [[unlikely]]
      logEntry = log;
  }
  explicit OldEntry(LoamTunnelNiLib::InLifModelEntry const& entry)
      : OldEntry(entry.logEntry, entry.rsrcKeys) {}

  explicit operator bool() const { return present; }

  Pivot::String text() const {
    using Entry = LoamTunnelNiLib::InLifModelEntry;
    return (present ? Entry{logEntry.value_or(decltype(Entry::logEntry)()), rsrcKeys} : Entry()).text();
  }
};

}  // namespace LoamInLif
