// The resource keys of a case: none, ten that all entries share, keys of the entry's own, or keys of its own
// that change at every round. Tables of eight-bit indexes have no key for each entry: there, entries share
// kNarrow of them.
#pragma once

#include "LoamInLif/Kinds.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "support/ResourceKeys.h"

namespace bench {

enum class Resources { none, shared, own, moving };

inline void resourceKeysAre(LoamTunnelNiLib::InLifModelEntry& entry, Resources resources, unsigned key,
                            unsigned round) {
  constexpr unsigned kNarrow = 100;
  constexpr unsigned kEntries = 65536;
  if (resources == Resources::none) return;
  unsigned n = resources == Resources::shared ? 0 : key;
  if (resources == Resources::moving) n += (round % 2) * kEntries;
  LoamInLif::forEachKind([&]<class Kind>() {
    bool const narrow = sizeof(Kind::defaultValue) == 1;
    entry.rsrcKeys.*Kind::keyField = TestSupport::keyOf<Kind>(narrow ? n % kNarrow : n);
  });
}

}  // namespace bench
