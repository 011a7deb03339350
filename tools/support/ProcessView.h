// Agent and writer as any program sees them in the store: whether one runs, which process it is, since when, and whether
// it goes on. Takes no lock and asks nobody.
#pragma once

#include <string>

#include "Shoal/StoreRoot.h"
#include "tools/json/Json.h"
#include "tools/support/Text.h"

namespace Inlif {

// A process that gave its last sign of life longer ago than this stands still; a running one gives one each second.
inline constexpr std::chrono::seconds kSilence{3};

// `alive`; `pid` and `since` when known; of one that has ended `lastSign`, of one that stands still `silentMs`.
Json processJson(VexSharedMem::StoreRoot::Role role);
// Both of them, as `agent` and `writer`.
Json processesJson();
// One of them in words, for instance "writer not running; the last one was process 4711, from TIME to TIME".
std::string processText(std::string const& name, Json const& process);
inline std::string processText(VexSharedMem::StoreRoot::Role role) {
  return processText(VexSharedMem::StoreRoot::roleName(role), processJson(role));
}

// The same for a view: what does not run or stands still is a fault.
Line processLine(std::string const& name, Json const& process);

}  // namespace Inlif
