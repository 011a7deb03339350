// A switch configuration in the JSON layout that operators use, read and checked as a whole.
//
// Four tables are looked at: PORT, VLAN, VLAN_MEMBER and VLAN_SUB_INTERFACE; others, and attributes that say
// nothing about an ingress interface, are passed over, unless their names look misspelt. A file is taken whole or not at all: read() checks
// every row and every reference between rows first, and refuses with one line that names file, line, table, row,
// value and what was expected. docs/config-mapping.md tells the rules.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Pivot/Status.h"
#include "tools/config/PortName.h"
#include "tools/json/Document.h"

namespace Inlif {

struct Port {
  PortName name;
  std::uint16_t mtu = 9100;
  std::uint16_t tpid = 0x8100;
  bool routedMode = true;  // "mode" is "routed" or missing
  bool adminUp = false;
};

enum class Tagging : std::uint8_t { untagged = 0, tagged = 1, priorityTagged = 2 };

struct VlanMember {
  std::uint16_t vlan = 0;
  PortName port;
  Tagging tagging = Tagging::untagged;
};

struct SubInterface {
  PortName name;
  std::uint16_t vlan = 0;  // outer tag that selects the sub-interface on its port
  bool adminUp = false;
};

class SwitchConfig {
 public:
  static Pivot::Status read(std::string const& path, SwitchConfig& out,
                            std::size_t mostBytes = Document::kMostFile);
  // The same for a text in memory; `origin` heads refusals in place of the path.
  static Pivot::Status parse(std::string_view text, std::string const& origin, SwitchConfig& out);

  // By PortName::code().
  absl::flat_hash_map<std::uint32_t, Port> const& ports() const { return ports_; }
  std::vector<VlanMember> const& vlanMembers() const { return vlanMembers_; }
  std::vector<SubInterface> const& subInterfaces() const { return subInterfaces_; }

  // The port, or for a bundle (which no table describes) a port with the defaults and administratively up.
  Port portOf(PortName const& name) const;
  // Ports that route: in routed mode and member of no VLAN. Membership decides, since real files leave
  // "routed" on member ports.
  std::vector<Port> routedPorts() const;

 private:
  class Reading;

  absl::flat_hash_map<std::uint32_t, Port> ports_;
  std::vector<VlanMember> vlanMembers_;
  std::vector<SubInterface> subInterfaces_;
};

}  // namespace Inlif
