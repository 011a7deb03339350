// The logical interfaces of the demo of the data plane, as a client writes them and as frames meet them.
//
// Half of the ports carry VLAN members, the others a routed port and sub-interfaces, some of these with a VLAN that is not
// their number. One interface in eight is changed in the course of the demo, in one of four ways; nobody touches the others.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/config/InterfaceMapping.h"
#include "tools/demo/Comparison.h"
#include "tools/demo/kernel/FrameStream.h"
#include "tools/json/Json.h"

namespace Inlif {

// What is different with a changed interface.
enum class Change : std::uint8_t { none, edit, down, priority, removed };

struct DemoInterface {
  std::size_t port = 0;
  WantedInterface wanted;
  Change change = Change::none;  // the way in which it is changed now and then; none: never

  WantedPlace place() const { return {wanted.place.table, kConfigUnit, wanted.place.key}; }
  FrameStream::Source source() const { return {port, wanted.vlan}; }
  // As an operation of the agent, as it is at first or changed. Of one that is removed: its removal.
  Json operation(bool isChanged) const;
  // How its frames come out when it stands so; `qosProfile` is what the resource table gave.
  Treatment treatment(bool isChanged, std::uint8_t qosProfile) const;
};

inline constexpr std::size_t kDemoPorts = 8;
inline constexpr std::uint16_t kDemoInterfacesOfPort = 64;

PortName demoPort(std::size_t port);
std::vector<DemoInterface> demoInterfaces();

}  // namespace Inlif
