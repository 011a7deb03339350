#include "tools/config/InterfaceMapping.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

constexpr std::uint8_t kAdminUp = 0x01;
constexpr unsigned kTaggingShift = 1;

// The table of a kind is the one that has its place among the kinds.
constexpr std::uint32_t tableOf(InterfaceKind kind) {
  return static_cast<std::uint32_t>(kind) - 1;
}

// `low` stands in the bits that a port without a sub-interface leaves 0.
WantedInterface interfaceOn(Port const& port, InterfaceKind kind, PortName const& name, std::uint16_t vlan,
                            unsigned flags) {
  WantedInterface one;
  std::uint32_t const low = kind == InterfaceKind::vlanMember ? vlan : 0;
  one.place = {tableOf(kind), name.code() | low};
  one.kind = kind;
  one.flags = static_cast<std::uint8_t>(flags);
  one.vlan = vlan;
  one.mtu = port.mtu;
  one.tpid = port.tpid;
  one.port = name;
  return one;
}

// Two bytes of the client's, little-endian.
void putWord(InLifModelLogEntry& entry, std::size_t at, std::uint16_t word) {
  entry.client[at] = static_cast<std::byte>(word);
  entry.client[at + 1] = static_cast<std::byte>(word >> 8);
}

std::uint16_t wordAt(InLifModelLogEntry const& entry, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned>(entry.client[at]) |
                                    static_cast<unsigned>(entry.client[at + 1]) << 8);
}

// Every port with the same tag type shares the edit that takes one tag off.
void takeTagOff(InLifModelEntry& entry, std::uint16_t tpid) {
  TagKind const kind = tpid == 0x8100 ? TagKind::customer : tpid == 0x88A8 ? TagKind::service : TagKind::user;
  VlanOp& op = entry.rsrcKeys.vlanEditProfileKey.vlanEdit.ops[tagFormat(kind)];
  op.action = VlanAction::edit;
  op.tagsRemoved = 1;
}

}  // namespace

std::string WantedInterface::name() const {
  return kind == InterfaceKind::vlanMember ? fmt::format("Vlan{}|{}", vlan, port.name()) : port.name();
}

InLifModelEntry WantedInterface::entry() const {
  InLifModelEntry entry;
  entry.logEntry.key = InLifModelEntryKey(place.key);
  std::ranges::fill(entry.logEntry.clientBytes(), std::byte{0});
  putWord(entry.logEntry, 0, vlan);
  putWord(entry.logEntry, 2, mtu);
  putWord(entry.logEntry, 4, tpid);
  entry.logEntry.client[6] = static_cast<std::byte>(kind);
  entry.logEntry.client[7] = static_cast<std::byte>(flags);

  InLifModelResourceKeys& keys = entry.rsrcKeys;
  Wirekit::IntfId const intf(port.name());
  LoamCountersLib::CrpsIndexRequestEntryKey const counter(place.key);
  keys.inLifDataKey = InLifDataEntryKey(intf);
  keys.qosProfileKey = LoamQos::QosProfileEntryKey(Wirekit::IntfId(port.port()));
  if (kind == InterfaceKind::vlanMember) {
    Wirekit::IntfId const ofVlan(fmt::format("Vlan{}", vlan));
    keys.inLifDataVlanKey = InLifDataEntryKey(ofVlan);
    keys.l2CounterRequestKey = counter;
    keys.learnEnableKey = LearnEnableEntryKey(intf);
    keys.learnEnableVlanKey = LearnEnableEntryKey(ofVlan, IntfOrVlanId::kVlan);
  } else {
    keys.l3CounterRequestKey = counter;
  }
  bool const isTagged = flags >> kTaggingShift == static_cast<unsigned>(Tagging::tagged);
  if (kind == InterfaceKind::subInterface || isTagged) takeTagOff(entry, tpid);
  return entry;
}

WantedInterfaces wantedInterfaces(SwitchConfig const& config) {
  WantedInterfaces wanted;
  auto const routed = config.routedPorts();
  wanted.reserve(routed.size() + config.vlanMembers().size() + config.subInterfaces().size());
  for (Port const& port : routed)
    wanted.push_back(interfaceOn(port, InterfaceKind::routedPort, port.name, 0, port.adminUp ? kAdminUp : 0));
  for (VlanMember const& member : config.vlanMembers()) {
    Port const port = config.portOf(member.port);
    unsigned const flags = (port.adminUp ? kAdminUp : 0U) | static_cast<unsigned>(member.tagging)
                                                                << kTaggingShift;
    wanted.push_back(interfaceOn(port, InterfaceKind::vlanMember, member.port, member.vlan, flags));
  }
  for (SubInterface const& sub : config.subInterfaces()) {
    Port const port = config.portOf(sub.name);
    wanted.push_back(interfaceOn(port, InterfaceKind::subInterface, sub.name, sub.vlan,
                                 sub.adminUp && port.adminUp ? kAdminUp : 0));
  }
  std::ranges::sort(wanted, {}, &WantedInterface::place);
  return wanted;
}

std::optional<WantedInterface> interfaceOf(std::uint32_t table, InLifModelEntry const& entry) {
  std::optional<PortName> name = PortName::parse(entry.rsrcKeys.inLifDataKey.intfId.name());
  auto const kind = static_cast<InterfaceKind>(entry.logEntry.client[6]);
  if (!name || tableOf(kind) != table) return std::nullopt;
  Port port;
  port.mtu = wordAt(entry.logEntry, 2);
  port.tpid = wordAt(entry.logEntry, 4);
  WantedInterface one = interfaceOn(port, kind, *name, wordAt(entry.logEntry, 0),
                                    static_cast<unsigned>(entry.logEntry.client[7]));
  // Whatever was not looked at has to be as the mapping makes it.
  InLifModelEntry const made = one.entry();
  bool const same = made.logEntry.key == entry.logEntry.key && made.rsrcKeys.isEq(entry.rsrcKeys) &&
                    std::ranges::equal(made.logEntry.clientBytes(), entry.logEntry.clientBytes());
  return same ? std::optional(std::move(one)) : std::nullopt;
}

}  // namespace Inlif
