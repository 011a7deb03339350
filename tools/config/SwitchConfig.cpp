#include "tools/config/SwitchConfig.h"

#include <absl/container/flat_hash_set.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "tools/json/NearName.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kLeastVlan = 1;
constexpr std::uint64_t kMostVlan = 4094;

// One of a few words; the refusal lists them.
template <class Value>
Value wordOr(ObjectReader& row, std::string_view name, Value fallback,
             std::initializer_list<std::pair<std::string_view, Value>> words) {
  if (!row.has(name)) return fallback;
  std::string_view const text = row.text(name);
  for (auto const& [word, value] : words) {
    if (text == word) return value;
  }
  std::string expected;
  for (auto const& [word, value] : words)
    expected += fmt::format("{}\"{}\"", expected.empty() ? "" : ", ", word);
  row.refuse(fmt::format("'{}' is {}; expected one of {}", name, shownText(text), expected));
  return fallback;
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

// One file while it is read: what has been taken so far, and which row took each name. The keys of rows are views of
// the document.
class SwitchConfig::Reading {
 public:
  explicit Reading(SwitchConfig& config) : config_(config) {}

  Pivot::Status take(Value file, std::string const& origin);

 private:
  using Row = void (Reading::*)(std::string_view key, ObjectReader& row);
  struct Table {
    std::string_view name;
    Row row;
  };
  static Table const kTables[];
  // Which row has taken a port, VLAN, member or sub-interface.
  using Rows = absl::flat_hash_map<std::uint64_t, std::string_view>;

  Pivot::Status mustBeMeant(Value file, std::string const& origin);
  Pivot::Status takeTable(Value file, std::string const& origin, Table const& table);
  void port(std::string_view key, ObjectReader& row);
  void vlan(std::string_view key, ObjectReader& row);
  void vlanMember(std::string_view key, ObjectReader& row);
  void subInterface(std::string_view key, ObjectReader& row);
  // The port that `text` names, which must be described (Ethernet) and be spelled the same everywhere.
  PortName portNamed(std::string_view text, ObjectReader& row, bool mayBeSubInterface = false);
  // Refuses a row whose subject has one already.
  void takeOnce(Rows& rows, std::uint64_t subject, std::string_view key, ObjectReader& row, char const* what) const;

  SwitchConfig& config_;
  std::size_t rowsOfTable_ = 0;  // of the one that is being read: what keeps them is made for so many
  Rows vlans_;
  Rows members_;
  Rows subInterfaces_;
  Rows taggedOn_;  // port and vlan to the sub-interface that takes it
  absl::flat_hash_map<std::uint32_t, std::string> spelling_;
};

// In this order, since later tables refer to earlier ones.
SwitchConfig::Reading::Table const SwitchConfig::Reading::kTables[] = {
    {"PORT", &Reading::port},
    {"VLAN", &Reading::vlan},
    {"VLAN_MEMBER", &Reading::vlanMember},
    {"VLAN_SUB_INTERFACE", &Reading::subInterface}};

Pivot::Status SwitchConfig::read(std::string const& path, SwitchConfig& out, std::size_t mostBytes) {
  Document file;
  Pivot::Status status = file.read(path, mostBytes);
  SwitchConfig config;
  if (status.isOk()) status = Reading(config).take(file.root(), path);
  if (status.isOk()) out = std::move(config);
  return status;
}

Pivot::Status SwitchConfig::parse(std::string_view text, std::string const& origin, SwitchConfig& out) {
  Document file;
  Pivot::Status status = file.parse(text, Document::kMostValuesOfFile);
  if (!status.isOk()) return Pivot::Status::refused(fmt::format("{}: {}", origin, status.message()));
  SwitchConfig config;
  status = Reading(config).take(file.root(), origin);
  if (status.isOk()) out = std::move(config);
  return status;
}

Pivot::Status SwitchConfig::Reading::take(Value file, std::string const& origin) {
  if (!file.isObject()) {
    return Pivot::Status::refused(
        fmt::format("{}: {} is no object; expected the tables PORT, VLAN, ...", origin, shown(file)));
  }
  Pivot::Status status = mustBeMeant(file, origin);
  for (Table const& table : kTables) {
    if (status.isOk()) status = takeTable(file, origin, table);
  }
  return status;
}

// A table that is not there removes all that it has given before. One whose name was misspelt, or another kind of file,
// must not count as that.
Pivot::Status SwitchConfig::Reading::mustBeMeant(Value file, std::string const& origin) {
  bool isConfiguration = false;
  for (Value const one : file) {
    isConfiguration |= std::ranges::find(kTables, one.name(), &Table::name) != std::end(kTables);
    auto const near =
        std::ranges::find_if(kTables, [&](Table const& table) { return isNear(one.name(), table.name); });
    if (near == std::end(kTables) || file.member(near->name)) continue;
    return Pivot::Status::refused(fmt::format("{}: line {}: {} is no table; expected {}, if that is meant",
                                              origin, one.line(), shownText(one.name()), near->name));
  }
  if (isConfiguration) return Pivot::Status::ok();
  std::string names;
  for (Table const& table : kTables) names += fmt::format("{}{}", names.empty() ? "" : ", ", table.name);
  return Pivot::Status::refused(fmt::format(
      "{}: {} holds no table; expected at least one of {}, which may be empty", origin, shown(file), names));
}

Pivot::Status SwitchConfig::Reading::takeTable(Value file, std::string const& origin, Table const& table) {
  Value const rows = file.member(table.name);
  if (!rows) return Pivot::Status::ok();
  if (!rows.isObject()) {
    return Pivot::Status::refused(fmt::format("{}: line {}: {} is {}; expected an object of rows", origin,
                                              rows.line(), table.name, shown(rows)));
  }
  rowsOfTable_ = rows.size();
  for (Value const one : rows) {
    ObjectReader row(one, ObjectPlace(table.name, one.name()));
    if (row.isOk()) (this->*table.row)(one.name(), row);
    Pivot::Status const status = row.finishLenient();
    if (!status.isOk())
      return Pivot::Status::refused(fmt::format("{}: line {}: {}", origin, one.line(), status.message()));
  }
  return Pivot::Status::ok();
}

void SwitchConfig::Reading::takeOnce(Rows& rows, std::uint64_t subject, std::string_view key,
                                     ObjectReader& row, char const* what) const {
  if (rows.empty()) rows.reserve(rowsOfTable_);
  auto const [known, isNew] = rows.try_emplace(subject, key);
  if (!isNew)
    row.refuse(
        fmt::format("{} is {} again; expected one row a {}", shownText(key), shownText(known->second), what));
}

PortName SwitchConfig::Reading::portNamed(std::string_view text, ObjectReader& row, bool mayBeSubInterface) {
  std::optional<PortName> const name = PortName::parse(text);
  if (!name || (name->subInterface != 0) != mayBeSubInterface) {
    row.refuse(fmt::format("{} is no {}; expected {}", shownText(text),
                           mayBeSubInterface ? "sub-interface" : "port", PortName::kExpected));
    return {};
  }
  std::uint32_t const port = name->withoutSubInterface().code();
  if (name->kind == PortKind::ethernet && !config_.ports_.contains(port))
    row.refuse(fmt::format("\"{}\" has no row in PORT; expected a port that PORT describes", name->port()));
  auto const [known, isNew] = spelling_.try_emplace(port, name->digits);
  if (!isNew && known->second != name->digits) {
    PortName other = *name;
    other.digits = known->second;
    row.refuse(fmt::format("{} is the port that other rows call \"{}\"; expected one spelling",
                           shownText(text), other.port()));
  }
  return *name;
}

void SwitchConfig::Reading::port(std::string_view key, ObjectReader& row) {
  std::optional<PortName> const name = PortName::parse(key);
  if (!name || name->kind != PortKind::ethernet || name->subInterface != 0) {
    return row.refuse(
        fmt::format("{} is no port; expected Ethernet with a number up to {} in at most {} digits",
                    shownText(key), PortName::kMostNumber, PortName::kMostDigits));
  }
  Port port;
  port.name = *name;
  port.mtu = static_cast<std::uint16_t>(row.numberOr("mtu", port.mtu, 9216, 68));
  port.tpid = static_cast<std::uint16_t>(row.numberOr("tpid", port.tpid, 0xFFFF, 0x600));
  port.routedMode = wordOr(row, "mode", true, {{"routed", true}, {"access", false}, {"trunk", false}});
  port.adminUp = adminUp(row);
  auto const [known, isNew] = config_.ports_.try_emplace(name->code(), port);
  if (!isNew) {
    row.refuse(fmt::format("{} is the port \"{}\" again; expected one row a port", shownText(key),
                           known->second.name.port()));
  }
  spelling_.try_emplace(name->code(), name->digits);
}

void SwitchConfig::Reading::vlan(std::string_view key, ObjectReader& row) {
  std::uint16_t vlan = 0;
  if (!vlanNumber(key, vlan)) {
    return row.refuse(fmt::format("{} is no VLAN; expected Vlan with a number from {} to {}", shownText(key),
                                  kLeastVlan, kMostVlan));
  }
  std::uint64_t const id = row.numberOr("vlanid", vlan, kMostVlan, kLeastVlan);
  if (row.isOk() && id != vlan)
    row.refuse(fmt::format("'vlanid' is {}; expected {} as in the name", id, vlan));
  takeOnce(vlans_, vlan, key, row, "VLAN");
}

void SwitchConfig::Reading::vlanMember(std::string_view key, ObjectReader& row) {
  auto const bar = key.find('|');
  VlanMember member;
  if (bar == std::string_view::npos || !vlanNumber(key.substr(0, bar), member.vlan))
    return row.refuse(fmt::format("{} is no member; expected VlanNUMBER|PORT", shownText(key)));
  if (!vlans_.contains(member.vlan))
    row.refuse(fmt::format("Vlan{} has no row in VLAN; expected a VLAN that VLAN describes", member.vlan));
  member.port = portNamed(key.substr(bar + 1), row);
  if (!row.has("tagging_mode"))
    row.refuse("'tagging_mode' is missing; expected \"tagged\", \"untagged\" or \"priority_tagged\"");
  member.tagging = wordOr(row, "tagging_mode", Tagging::untagged,
                          {{"untagged", Tagging::untagged},
                           {"tagged", Tagging::tagged},
                           {"priority_tagged", Tagging::priorityTagged}});
  if (!row.isOk()) return;
  takeOnce(members_, std::uint64_t{member.port.code()} << 16 | member.vlan, key, row, "member");
  if (config_.vlanMembers_.empty()) config_.vlanMembers_.reserve(rowsOfTable_);
  config_.vlanMembers_.push_back(std::move(member));
}

void SwitchConfig::Reading::subInterface(std::string_view key, ObjectReader& row) {
  // A row "NAME|ADDRESS" gives a sub-interface an address, which says nothing about its ingress side.
  if (key.find('|') != std::string_view::npos) return;
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
  PortName const port = sub.name.withoutSubInterface();
  takeOnce(subInterfaces_, sub.name.code(), key, row, "sub-interface");
  if (taggedOn_.empty()) taggedOn_.reserve(rowsOfTable_);
  auto const [known, isNew] = taggedOn_.try_emplace(std::uint64_t{port.code()} << 16 | sub.vlan, key);
  if (!isNew) {
    row.refuse(fmt::format("vlan {} of {} is taken by {} already; expected one sub-interface a port and vlan",
                           sub.vlan, port.port(), shownText(known->second)));
  }
  if (config_.subInterfaces_.empty()) config_.subInterfaces_.reserve(rowsOfTable_);
  config_.subInterfaces_.push_back(std::move(sub));
}

Port SwitchConfig::portOf(PortName const& name) const {
  PortName const port = name.withoutSubInterface();
  auto const found = ports_.find(port.code());
  if (found != ports_.end()) return found->second;
  Port bundle;
  bundle.name = port;
  bundle.adminUp = true;
  return bundle;
}

std::vector<Port> SwitchConfig::routedPorts() const {
  absl::flat_hash_set<std::uint32_t> members;
  for (VlanMember const& member : vlanMembers_) members.insert(member.port.code());
  std::vector<Port> routed;
  for (auto const& [code, port] : ports_) {
    if (port.routedMode && !members.contains(code)) routed.push_back(port);
  }
  return routed;
}

}  // namespace Inlif
