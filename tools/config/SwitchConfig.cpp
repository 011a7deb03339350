#include "tools/config/SwitchConfig.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "Wirekit/IntfId.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kLeastVlan = 1;
constexpr std::uint64_t kMostVlan = 4094;

// One of a few words; the refusal lists them.
template <class Value>
Value wordOr(ObjectReader& row, std::string_view name, Value fallback,
             std::initializer_list<std::pair<std::string_view, Value>> words) {
  std::string const text = row.textOr(name, "");
  if (!row.has(name)) return fallback;
  std::string expected;
  for (auto const& [word, value] : words) {
    if (text == word) return value;
    expected += fmt::format("{}\"{}\"", expected.empty() ? "" : ", ", word);
  }
  row.refuse(fmt::format("'{}' is \"{}\"; expected one of {}", name, text, expected));
  return fallback;
}

// A name becomes an interface id later, which holds fewer digits than a text.
void mustBeInterface(ObjectReader& row, PortName const& name) {
  Wirekit::IntfId id;
  Pivot::Status const status = Wirekit::IntfId::parse(name.name(), id);
  if (!status.isOk()) row.refuse(status.message());
}

bool adminUp(ObjectReader& row) {
  return wordOr(row, "admin_status", false, {{"up", true}, {"down", false}});
}

bool vlanNumber(std::string_view text, std::uint16_t& out) {
  std::uint64_t number = 0;
  if (!text.starts_with("Vlan") || text.starts_with("Vlan0x")) return false;
  if (!numberFrom(text.substr(4), number) || number < kLeastVlan || number > kMostVlan) return false;
  out = static_cast<std::uint16_t>(number);
  return true;
}

}  // namespace

Pivot::Status SwitchConfig::read(std::string const& path, SwitchConfig& out) {
  errno = 0;
  std::ifstream file(path);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) {
    return Pivot::Status::refused(fmt::format("{}: {}; expected a switch configuration in JSON", path,
                                              errno ? std::strerror(errno) : "empty or unreadable"));
  }
  return parse(text.str(), path, out);
}

Pivot::Status SwitchConfig::parse(std::string_view text, std::string const& origin, SwitchConfig& out) {
  Json file;
  try {
    file = Json::parse(text);
  } catch (Json::parse_error const& error) {
    return Pivot::Status::refused(
        fmt::format("{}: not JSON at character {}; expected a switch configuration", origin, error.byte));
  }
  if (!file.is_object()) {
    return Pivot::Status::refused(
        fmt::format("{}: {} is no object; expected the tables PORT, VLAN, ...", origin, shown(file)));
  }
  SwitchConfig config;
  // In this order, since later tables refer to earlier ones.
  struct Table {
    char const* name;
    Row row;
  };
  for (Table const& table : {Table{"PORT", &SwitchConfig::readPort}, Table{"VLAN", &SwitchConfig::readVlan},
                             Table{"VLAN_MEMBER", &SwitchConfig::readVlanMember},
                             Table{"VLAN_SUB_INTERFACE", &SwitchConfig::readSubInterface}}) {
    Pivot::Status status = config.readTable(file, origin, table.name, table.row);
    if (!status.isOk()) return status;
  }
  out = std::move(config);
  return Pivot::Status::ok();
}

Pivot::Status SwitchConfig::readTable(Json const& file, std::string const& origin, char const* table,
                                      Row row) {
  auto const found = file.find(table);
  if (found == file.end()) return Pivot::Status::ok();
  if (!found->is_object()) {
    return Pivot::Status::refused(
        fmt::format("{}: {} is {}; expected an object of rows", origin, table, shown(*found)));
  }
  for (auto const& [key, value] : found->items()) {
    ObjectReader reader(value, fmt::format("{}: {} \"{}\"", origin, table, key));
    if (reader.isOk()) (this->*row)(key, reader);
    Pivot::Status status = reader.finishLenient();
    if (!status.isOk()) return status;
  }
  return Pivot::Status::ok();
}

PortName SwitchConfig::portNamed(std::string const& text, ObjectReader& row, bool mayBeSubInterface) {
  std::optional<PortName> name = PortName::parse(text);
  if (!name || (name->subInterface != 0) != mayBeSubInterface) {
    row.refuse(fmt::format("\"{}\" is no {}; expected {}", text, mayBeSubInterface ? "sub-interface" : "port",
                           PortName::kExpected));
    return {};
  }
  mustBeInterface(row, *name);
  PortName port = *name;
  port.subInterface = 0;
  if (port.kind == PortKind::ethernet && !ports_.contains(port)) {
    row.refuse(fmt::format("\"{}\" has no row in PORT; expected a port that PORT describes", port.port()));
  }
  auto const [known, isNew] = spelling_.try_emplace(port, port.port());
  if (!isNew && known->second != port.port()) {
    row.refuse(fmt::format("\"{}\" is the port that other rows call \"{}\"; expected one spelling", text,
                           known->second));
  }
  return *name;
}

void SwitchConfig::readPort(std::string const& key, ObjectReader& row) {
  std::optional<PortName> const name = PortName::parse(key);
  if (!name || name->kind != PortKind::ethernet || name->subInterface != 0) {
    row.refuse(fmt::format("\"{}\" is no port; expected Ethernet with a number up to {}", key,
                           PortName::kMostNumber));
    return;
  }
  Port port;
  port.name = *name;
  mustBeInterface(row, port.name);
  port.mtu = static_cast<std::uint16_t>(row.numberOr("mtu", port.mtu, 9216, 68));
  port.tpid = static_cast<std::uint16_t>(row.numberOr("tpid", port.tpid, 0xFFFF, 0x600));
  port.routedMode = wordOr(row, "mode", true, {{"routed", true}, {"access", false}, {"trunk", false}});
  port.adminUp = adminUp(row);
  auto const [known, isNew] = spelling_.try_emplace(port.name, port.name.port());
  if (!isNew)
    row.refuse(fmt::format("\"{}\" is the port \"{}\" again; expected one row a port", key, known->second));
  ports_[port.name] = port;
}

void SwitchConfig::readVlan(std::string const& key, ObjectReader& row) {
  std::uint16_t vlan = 0;
  if (!vlanNumber(key, vlan)) {
    row.refuse(fmt::format("\"{}\" is no VLAN; expected Vlan with a number from {} to {}", key, kLeastVlan,
                           kMostVlan));
    return;
  }
  std::uint64_t const id = row.numberOr("vlanid", vlan, kMostVlan, kLeastVlan);
  if (row.isOk() && id != vlan)
    row.refuse(fmt::format("'vlanid' is {}; expected {} as in the name", id, vlan));
  auto const [known, isNew] = vlans_.try_emplace(vlan, key);
  if (!isNew) row.refuse(fmt::format("\"{}\" is \"{}\" again; expected one row a VLAN", key, known->second));
}

void SwitchConfig::readVlanMember(std::string const& key, ObjectReader& row) {
  auto const bar = key.find('|');
  VlanMember member;
  if (bar == std::string::npos || !vlanNumber(std::string_view(key).substr(0, bar), member.vlan)) {
    row.refuse(fmt::format("\"{}\" is no member; expected VlanNUMBER|PORT", key));
    return;
  }
  if (!vlans_.contains(member.vlan)) {
    row.refuse(fmt::format("Vlan{} has no row in VLAN; expected a VLAN that VLAN describes", member.vlan));
  }
  member.port = portNamed(key.substr(bar + 1), row);
  if (!row.has("tagging_mode")) {
    row.refuse("'tagging_mode' is missing; expected \"tagged\", \"untagged\" or \"priority_tagged\"");
  }
  member.tagging = wordOr(row, "tagging_mode", Tagging::untagged,
                          {{"untagged", Tagging::untagged},
                           {"tagged", Tagging::tagged},
                           {"priority_tagged", Tagging::priorityTagged}});
  if (!row.isOk()) return;
  auto const [known, isNew] = memberRows_.try_emplace({member.port, member.vlan}, key);
  if (!isNew)
    row.refuse(fmt::format("\"{}\" is \"{}\" again; expected one row a member", key, known->second));
  vlanMembers_.push_back(member);
}

void SwitchConfig::readSubInterface(std::string const& key, ObjectReader& row) {
  // A row "NAME|ADDRESS" gives a sub-interface an address, which says nothing about its ingress side.
  if (key.find('|') != std::string::npos) return;
  SubInterface sub;
  sub.name = portNamed(key, row, true);
  if (!row.isOk()) return;
  // A sub-interface without a vlan takes the tag that its number names.
  if (row.has("vlan")) {
    sub.vlan = static_cast<std::uint16_t>(row.number("vlan", kMostVlan, kLeastVlan));
  } else if (sub.name.subInterface <= kMostVlan) {
    sub.vlan = static_cast<std::uint16_t>(sub.name.subInterface);
  } else {
    row.refuse(fmt::format("'vlan' is missing and {} is no VLAN; expected 'vlan' from {} to {}",
                           sub.name.subInterface, kLeastVlan, kMostVlan));
  }
  sub.adminUp = adminUp(row);
  if (!row.isOk()) return;
  PortName port = sub.name;
  port.subInterface = 0;
  auto const [known, isNew] = taggedOn_.try_emplace({port, sub.vlan}, key);
  if (!isNew) {
    row.refuse(
        fmt::format("vlan {} of {} is taken by \"{}\" already; expected one sub-interface a port and vlan",
                    sub.vlan, port.port(), known->second));
  }
  auto const [earlier, isFirst] = subInterfaceRows_.try_emplace(sub.name, key);
  if (!isFirst)
    row.refuse(fmt::format("\"{}\" is \"{}\" again; expected one row a sub-interface", key, earlier->second));
  subInterfaces_.push_back(sub);
}

Port SwitchConfig::portOf(PortName const& name) const {
  PortName port = name;
  port.subInterface = 0;
  auto const found = ports_.find(port);
  if (found != ports_.end()) return found->second;
  Port bundle;
  bundle.name = port;
  bundle.adminUp = true;
  return bundle;
}

std::vector<Port> SwitchConfig::routedPorts() const {
  std::set<PortName> members;
  for (VlanMember const& member : vlanMembers_) members.insert(member.port);
  std::vector<Port> routed;
  for (auto const& [name, port] : ports_) {
    if (port.routedMode && !members.contains(name)) routed.push_back(port);
  }
  return routed;
}

}  // namespace Inlif
