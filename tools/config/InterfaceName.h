// The interface that an entry is about, by the name that people have for it: "Ethernet4", "Ethernet4.10", "Vlan10|Ethernet4".
//
// The name follows from the entry alone: it is what its inLifDataKey names, with the VLAN of its inLifDataVlanKey before it.
// That holds for what a configuration gives and for the entries of any other client, needs no agent, and is kept nowhere.
// An entry without an inLifDataKey is about no interface.
#pragma once

#include <string>
#include <string_view>

#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "Pivot/Status.h"

namespace Inlif {

// Empty without one.
std::string interfaceName(LoamTunnelNiLib::InLifModelResourceKeys const& keys);

// One spelling for all names of an interface: ports by their long names, the VLAN first. A text that is no such name is
// refused.
Pivot::Status interfaceNameFrom(std::string_view text, std::string& name);
// The same for a name that an entry gave.
std::string spelledOut(std::string const& name);

}  // namespace Inlif
