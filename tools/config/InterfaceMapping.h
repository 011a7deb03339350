// Turns a switch configuration into entries: what a client of the tables wants of it.
//
// Each VLAN member, sub-interface and routed port becomes one entry of a table of its own: routed ports of
// InLif0, VLAN members of InLif1, sub-interfaces of InLif23, all on unit 0. Keys and resources follow from
// names and numbers of the file alone, never from its order, so the same interface has the same key in every
// reading. An interface is kept as what its entry is made from, a tenth of its size. docs/config-mapping.md draws
// key and client bytes.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "tools/config/SwitchConfig.h"

namespace Inlif {

// Where an entry belongs: the place of the table among the three (0 to 2), and the key in it.
struct EntryPlace {
  std::uint32_t table = 0;
  std::uint32_t key = 0;

  friend auto operator<=>(EntryPlace const&, EntryPlace const&) = default;
};

// What the client's bytes say the interface is.
enum class InterfaceKind : std::uint8_t { routedPort = 1, vlanMember = 2, subInterface = 3 };

struct WantedInterface {
  EntryPlace place;
  InterfaceKind kind = InterfaceKind::routedPort;
  std::uint8_t flags = 0;  // the last of the client's bytes
  std::uint16_t vlan = 0;
  std::uint16_t mtu = 0;
  std::uint16_t tpid = 0;
  PortName port;  // with the number of the sub-interface, where it is one

  std::string name() const;  // as people call it, for answers and reports
  LoamTunnelNiLib::InLifModelEntry entry() const;
  // Equal ones have equal entries.
  bool operator==(WantedInterface const&) const = default;
};

// In the order of their places, each place once.
using WantedInterfaces = std::vector<WantedInterface>;

inline constexpr std::uint16_t kConfigUnit = 0;

WantedInterfaces wantedInterfaces(SwitchConfig const& config);

// The interface that an entry was made from; nothing for an entry that no configuration gives.
std::optional<WantedInterface> interfaceOf(std::uint32_t table,
                                           LoamTunnelNiLib::InLifModelEntry const& entry);

}  // namespace Inlif
