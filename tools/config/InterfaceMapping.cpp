#include "tools/config/InterfaceMapping.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

// What the client's bytes say the interface is.
enum class InterfaceKind : std::uint8_t { routedPort = 1, vlanMember = 2, subInterface = 3 };
constexpr std::uint8_t kAdminUp = 0x01;
constexpr unsigned kTaggingShift = 1;

constexpr std::uint32_t kRoutedTable = 0;
constexpr std::uint32_t kMemberTable = 1;
constexpr std::uint32_t kSubInterfaceTable = 2;

// Bits 31 and 30 the kind of the port, 29 to 14 its number, 13 to 0 the VLAN or the number of the
// sub-interface.
std::uint32_t keyOf(PortName const& port, std::uint32_t low) {
  return port.withoutSubInterface().code() | low;
}

// Two bytes of the client's, little-endian.
void putWord(InLifModelLogEntry& entry, std::size_t at, std::uint16_t word) {
  entry.client[at] = static_cast<std::byte>(word);
  entry.client[at + 1] = static_cast<std::byte>(word >> 8);
}

InLifModelEntry entryOf(std::uint32_t key, InterfaceKind kind, Port const& port, std::uint16_t vlan,
                        unsigned flags) {
  InLifModelEntry entry;
  entry.logEntry.key = InLifModelEntryKey(key);
  std::ranges::fill(entry.logEntry.clientBytes(), std::byte{0});
  putWord(entry.logEntry, 0, vlan);
  putWord(entry.logEntry, 2, port.mtu);
  putWord(entry.logEntry, 4, port.tpid);
  entry.logEntry.client[6] = static_cast<std::byte>(kind);
  entry.logEntry.client[7] = static_cast<std::byte>(flags);
  return entry;
}

// Every port with the same tag type shares the edit that takes one tag off.
void takeTagOff(InLifModelEntry& entry, std::uint16_t tpid) {
  TagKind const kind = tpid == 0x8100 ? TagKind::customer : tpid == 0x88A8 ? TagKind::service : TagKind::user;
  VlanOp& op = entry.rsrcKeys.vlanEditProfileKey.vlanEdit.ops[tagFormat(kind)];
  op.action = VlanAction::edit;
  op.tagsRemoved = 1;
}

LoamCountersLib::CrpsIndexRequestEntryKey counterOf(std::uint32_t key) {
  return LoamCountersLib::CrpsIndexRequestEntryKey(key);
}

WantedEntry routedPort(Port const& port, std::uint32_t key) {
  Wirekit::IntfId const intf(port.name.name());
  InLifModelEntry entry = entryOf(key, InterfaceKind::routedPort, port, 0, port.adminUp ? kAdminUp : 0);
  entry.rsrcKeys.inLifDataKey = InLifDataEntryKey(intf);
  entry.rsrcKeys.l3CounterRequestKey = counterOf(key);
  entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey(intf);
  return {port.name.name(), entry};
}

WantedEntry vlanMember(VlanMember const& member, Port const& port, std::uint32_t key) {
  Wirekit::IntfId const intf(port.name.name());
  std::string const vlanName = fmt::format("Vlan{}", member.vlan);
  Wirekit::IntfId const vlan(vlanName);
  unsigned const flags = (port.adminUp ? kAdminUp : 0U) | static_cast<unsigned>(member.tagging)
                                                              << kTaggingShift;
  InLifModelEntry entry = entryOf(key, InterfaceKind::vlanMember, port, member.vlan, flags);
  entry.rsrcKeys.inLifDataKey = InLifDataEntryKey(intf);
  entry.rsrcKeys.inLifDataVlanKey = InLifDataEntryKey(vlan);
  entry.rsrcKeys.l2CounterRequestKey = counterOf(key);
  entry.rsrcKeys.learnEnableKey = LearnEnableEntryKey(intf);
  entry.rsrcKeys.learnEnableVlanKey = LearnEnableEntryKey(vlan, IntfOrVlanId::kVlan);
  entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey(intf);
  if (member.tagging == Tagging::tagged) takeTagOff(entry, port.tpid);
  return {vlanName + "|" + port.name.name(), entry};
}

WantedEntry subInterface(SubInterface const& sub, Port const& port, std::uint32_t key) {
  InLifModelEntry entry =
      entryOf(key, InterfaceKind::subInterface, port, sub.vlan, sub.adminUp && port.adminUp ? kAdminUp : 0);
  entry.rsrcKeys.inLifDataKey = InLifDataEntryKey(Wirekit::IntfId(sub.name.name()));
  entry.rsrcKeys.l3CounterRequestKey = counterOf(key);
  entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey(Wirekit::IntfId(port.name.name()));
  takeTagOff(entry, port.tpid);
  return {sub.name.name(), entry};
}

}  // namespace

WantedEntries wantedEntries(SwitchConfig const& config) {
  WantedEntries wanted;
  for (Port const& port : config.routedPorts()) {
    std::uint32_t const key = keyOf(port.name, 0);
    wanted.emplace(EntryPlace{kRoutedTable, key}, routedPort(port, key));
  }
  for (VlanMember const& member : config.vlanMembers()) {
    std::uint32_t const key = keyOf(member.port, member.vlan);
    Port port = config.portOf(member.port);
    port.name = member.port;
    wanted.emplace(EntryPlace{kMemberTable, key}, vlanMember(member, port, key));
  }
  for (SubInterface const& sub : config.subInterfaces()) {
    std::uint32_t const key = keyOf(sub.name, sub.name.subInterface);
    Port port = config.portOf(sub.name);
    wanted.emplace(EntryPlace{kSubInterfaceTable, key}, subInterface(sub, port, key));
  }
  return wanted;
}

}  // namespace Inlif
