#include "tools/demo/kernel/DemoInterfaces.h"

#include <fmt/format.h>

#include "tools/json/EntryJson.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

constexpr std::uint16_t kFirstVlan = 100;
constexpr std::size_t kChangedIn = 8;
constexpr std::uint8_t kUp = 1;
constexpr std::uint8_t kTagged = 2;
constexpr std::uint16_t kTpid = 0x8100;
// Every so many sub-interfaces has a VLAN that is not its number.
constexpr std::uint16_t kOtherVlanIn = 8;
constexpr std::uint16_t kOtherVlan = 1000;
constexpr std::uint16_t kEditedVlan = 2000;

WantedInterface interfaceOn(std::size_t port, InterfaceKind kind, std::uint16_t number) {
  WantedInterface one;
  one.port = demoPort(port);
  one.kind = kind;
  one.flags = kind == InterfaceKind::vlanMember ? kUp | kTagged : kUp;
  one.mtu = 9100;
  one.tpid = kTpid;
  one.vlan = number;
  if (kind == InterfaceKind::subInterface) {
    one.port.subInterface = number;
    if (number % kOtherVlanIn == 3) one.vlan = static_cast<std::uint16_t>(kOtherVlan + number);
  }
  std::uint32_t const low = kind == InterfaceKind::vlanMember ? number : 0;
  one.place = {static_cast<std::uint32_t>(kind) - 1, one.port.code() | low};
  return one;
}

}  // namespace

PortName demoPort(std::size_t port) {
  return *PortName::parse(fmt::format("Ethernet{}", port));
}

std::vector<DemoInterface> demoInterfaces() {
  std::vector<DemoInterface> all;
  for (std::size_t port = 0; port < kDemoPorts; ++port) {
    bool const isBridged = port < kDemoPorts / 2;
    if (!isBridged) all.push_back({port, interfaceOn(port, InterfaceKind::routedPort, 0)});
    for (std::uint16_t i = 0; i < kDemoInterfacesOfPort; ++i) {
      auto const number = static_cast<std::uint16_t>(kFirstVlan + i);
      all.push_back(
          {port,
           interfaceOn(port, isBridged ? InterfaceKind::vlanMember : InterfaceKind::subInterface, number)});
    }
  }
  // Routed ports take no part: they have no tag that could be edited.
  std::size_t changed = 0;
  for (std::size_t i = kChangedIn / 2; i < all.size(); i += kChangedIn)
    if (all[i].wanted.kind != InterfaceKind::routedPort)
      all[i].change = static_cast<Change>(1 + changed++ % 4);
  return all;
}

Json DemoInterface::operation(bool isChanged) const {
  Json out = {{"table", tables()[wanted.place.table].name}, {"unit", kConfigUnit}, {"key", wanted.place.key}};
  if (isChanged && change == Change::removed) {
    out["op"] = "remove";
    return out;
  }
  out["op"] = "write";
  WantedInterface standing = wanted;
  if (isChanged && change == Change::down) standing.flags = static_cast<std::uint8_t>(standing.flags & ~kUp);
  InLifModelEntry entry = standing.entry();
  if (isChanged && change == Change::edit) {
    VlanOp& op = entry.rsrcKeys.vlanEditProfileKey.vlanEdit.ops[tagFormat(TagKind::customer)];
    op.tagsAdded = 1;
    op.outerVlan = static_cast<std::uint16_t>(kEditedVlan + port);
    op.outerTpid = kTpid;
  }
  // A profile of its own, which no other interface has.
  if (isChanged && change == Change::priority)
    entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey::ofInterface("Ethernet1000");
  addEntry(out, entry);
  out.erase("resolved");
  return out;
}

Treatment DemoInterface::treatment(bool isChanged, std::uint8_t qosProfile) const {
  if (isChanged && (change == Change::removed || change == Change::down)) return {};
  Treatment treatment{true, 0, static_cast<std::uint8_t>(qosProfile & 63)};
  if (isChanged && change == Change::edit) treatment.vlan = static_cast<std::uint16_t>(kEditedVlan + port);
  return treatment;
}

}  // namespace Inlif
