// A switch configuration becomes the entries that its interfaces need, with keys that depend on names alone;
// a broken file is refused whole, with the row that is wrong.
#include <map>

#include "tools/Refusals.h"
#include "tools/config/ConfigChange.h"

namespace {

using namespace Inlif;
using testing::HasSubstr;

SwitchConfig parsed(std::string const& text) {
  SwitchConfig config;
  Pivot::Status const status = SwitchConfig::parse(text, "test", config);
  EXPECT_TRUE(status.isOk()) << status.message();
  return config;
}

std::string refusalOfConfig(std::string const& text) {
  SwitchConfig config = parsed(R"({"PORT": {"Ethernet96": {}}})");
  Pivot::Status const status = SwitchConfig::parse(text, "test", config);
  EXPECT_TRUE(status.message().starts_with("test: ")) << text;
  EXPECT_EQ(config.ports().size(), 1u) << "a refused file changes nothing";
  return status.message();
}

constexpr char const* kConfig = R"({
  "PORT": {"Ethernet0": {"mode": "routed", "admin_status": "up"}, "Ethernet4": {"mode": "routed", "mtu": "1500"},
           "Ethernet8": {"mode": "trunk"}, "Ethernet12": {"tpid": "0x88a8"}},
  "VLAN": {"Vlan100": {"vlanid": "100"}},
  "VLAN_MEMBER": {"Vlan100|Ethernet4": {"tagging_mode": "untagged"}, "Vlan100|PortChannel1001": {"tagging_mode": "tagged"}},
  "VLAN_SUB_INTERFACE": {"Ethernet0.10": {"admin_status": "up"}, "Ethernet0.10|10.0.0.1/31": {}, "Po0001.10": {"vlan": "100"},
                         "Eth12.10": {"vlan": "7"}},
  "INTERFACE": {"anything": []}, "VLAN_INTERFACE": {}})";

TEST(SwitchConfig, eachInterfaceBecomesAnEntryOfItsTable) {
  std::map<std::string, EntryPlace> places;
  std::map<EntryPlace, LoamTunnelNiLib::InLifModelEntry> entries;
  for (WantedInterface const& one : wantedInterfaces(parsed(kConfig))) {
    places[one.name()] = one.place;
    auto const& entry = entries[one.place] = one.entry();
    EXPECT_TRUE(interfaceOf(one.place.table, entry) == one) << one.name();
    EXPECT_FALSE(interfaceOf((one.place.table + 1) % 3, entry)) << one.name();
  }
  // A port that is a member is not routed, whatever its mode; short names stand for long ones; digits stay as
  // written.
  std::map<std::string, EntryPlace> const expected{
      {"Ethernet0", {0, 0x40000000}},
      {"Ethernet12", {0, 0x40000000 | 12 << 14}},
      {"Vlan100|Ethernet4", {1, 0x40000000 | 4 << 14 | 100}},
      {"Vlan100|PortChannel1001", {1, 0x80000000 | 1001 << 14 | 100}},
      {"Ethernet0.10", {2, 0x40000000 | 10}},
      {"PortChannel0001.10", {2, 0x80000000 | 1 << 14 | 10}},
      {"Ethernet12.10", {2, 0x40000000 | 12 << 14 | 10}}};
  EXPECT_EQ(places, expected);

  auto const& sub = entries.at(places["Ethernet0.10"]);
  EXPECT_EQ(sub.logEntry.client[0], std::byte{10}) << "without a vlan the number is the vlan";
  EXPECT_EQ(sub.logEntry.client[7], std::byte{1});
  EXPECT_EQ(sub.rsrcKeys.qosProfileKey.intfId.name(), "Ethernet0");
  EXPECT_EQ(entries.at(places["PortChannel0001.10"]).logEntry.client[0], std::byte{100});
  auto const& service = entries.at(places["Ethernet12.10"]).rsrcKeys.vlanEditProfileKey.vlanEdit.ops;
  EXPECT_EQ(service[LoamTunnelNiLib::tagFormat(LoamTunnelNiLib::TagKind::service)].tagsRemoved, 1);
  auto const& untagged = entries.at(places["Vlan100|Ethernet4"]).rsrcKeys;
  EXPECT_FALSE(untagged.vlanEditProfileKey);
  EXPECT_EQ(untagged.inLifDataVlanKey.intfId.name(), "Vlan100");

  // What another client has written is none of the configuration's.
  auto other = entries.at(places["Ethernet0"]);
  other.logEntry.client[48] = std::byte{1};
  EXPECT_FALSE(interfaceOf(0, other));
}

TEST(SwitchConfig, refusalsNameTheRow) {
  ToolsTest::expectRefusals(&refusalOfConfig, ToolsTest::refusalsOf("configurations"));
  ToolsTest::expectRefusal(refusalOfConfig("{\"PORT\": {\n\"Ethernet0\": {\"admin_sttus\": \"up\"}}}"),
                           {"", "line 2: PORT \"Ethernet0\": \"admin_sttus\"", "admin_status"});
  SwitchConfig config;
  EXPECT_THAT(SwitchConfig::read("/nowhere/config.json", config).message(),
              HasSubstr("/nowhere/config.json: No such file"));
}

}  // namespace
