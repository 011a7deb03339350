// Turns a switch configuration into entries: what a client of the tables wants of it.
//
// Each VLAN member, sub-interface and routed port becomes one entry of a table of its own: routed ports of
// InLif0, VLAN members of InLif1, sub-interfaces of InLif23, all on unit 0. Keys and resources follow from
// names and numbers of the file alone, never from its order, so the same interface has the same key in every
// reading. docs/config-mapping.md draws key and client bytes.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "tools/config/SwitchConfig.h"

namespace Inlif {

// Where an entry belongs: the place of the table among the three (0 to 2), and the key in it.
struct EntryPlace {
  std::uint32_t table = 0;
  std::uint32_t key = 0;

  friend auto operator<=>(EntryPlace const&, EntryPlace const&) = default;
};

struct WantedEntry {
  std::string interface;  // as people call it, for answers and reports
  LoamTunnelNiLib::InLifModelEntry entry;
};

using WantedEntries = std::map<EntryPlace, WantedEntry>;

inline constexpr std::uint16_t kConfigUnit = 0;

WantedEntries wantedEntries(SwitchConfig const& config);

}  // namespace Inlif
