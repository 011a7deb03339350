// Interfaces by their names, in what the commands print and in what they take.
#include "LoamTunnelNiLib/InLifImage.h"
#include "Programs.h"
#include "Shoal/ShoalMap.h"

namespace {

using namespace Inlif;
using namespace LoamTunnelNiLib;
using VexSharedMem::StoreRoot;

using InterfaceTest = WithWriterTest;

TEST_F(InterfaceTest, aNameStandsForAKeyAlsoWithoutAnAgent) {
  agentStarts(
      {"--config", file("config.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},"VLAN":{"Vlan10":{}},
"VLAN_MEMBER":{"Vlan10|Ethernet4":{"tagging_mode":"tagged"}},"VLAN_SUB_INTERFACE":{"Eth0.7":{}}})")});
  makeUnit("InLif1", 5);
  ask("write", "InLif1", 5,
      R"(,"key":9,"inLifDataKey":{"intf":"Ethernet4"},"inLifDataVlanKey":{"intf":"Vlan10"})");
  ask("write", "InLif1", 5, R"(,"key":8)");
  ask(R"("op":"wait","timeoutMs":20000)");
  ask(R"("op":"resource","resource":"qosProfileKey","key":{"intf":"Ethernet8"},"state":"inLog")");
  std::string const waits =
      R"("op":"write","table":"InLif1","unit":5,"key":9,"qosProfileKey":{"intf":"Ethernet8"})";
  ask(waits);
  EXPECT_THAT(said({"why", "InLif1", "5", "Ethernet4|Vlan10"}),
              HasSubstr("InLif1 unit 5 write of key 9 (Vlan10|Ethernet4): "));
  EXPECT_THAT(said({"why", "Ethernet0"}), HasSubstr("no operation waits"));
  agent_.reset();

  std::string const shown = said({"show", "interface", "Eth0.7"});
  EXPECT_THAT(shown,
              testing::ContainsRegex("^Ethernet0.7: InLif23 unit 0 key [0-9]+, live at version 1; in the "
                                     "hardware: stands\n  inLifDataKey +\\{\"intf\":\"Ethernet0.7\"\\} -> "));
  std::string const json = said({"show", "interface", "Ethernet4|Vlan10", "--json", "--unit", "5"});
  EXPECT_EQ(Json::parse(json)["key"], 9);
  EXPECT_EQ(Json::parse(json)["interface"], "Vlan10|Ethernet4");
  EXPECT_THAT(said({"show", "config", "--key", "Ethernet0.7"}), HasSubstr("  Ethernet0.7: inLifDataKey "));
  EXPECT_THAT(said({"show", "image", "--key", "Ethernet0", "--json"}),
              HasSubstr(R"("interface":"Ethernet0")"));
  EXPECT_THAT(said({"log", "--from", "1", "--unit", "5", "--key", "Vlan10|Ethernet4"}),
              HasSubstr("  live             9  Vlan10|Ethernet4: "));
  EXPECT_THAT(said({"show", "failures", "--key", "Ethernet0"}), HasSubstr("nothing has failed"));

  EXPECT_THAT(
      said({"log", "--key", "Vlan10|Ethernet4"}, kRefused),
      AllOf(HasSubstr("is in several places: InLif1 unit 0 key "), HasSubstr(", InLif1 unit 5 key 9")));
  EXPECT_THAT(said({"show", "interface", "Ethernet9"}, kRefused),
              HasSubstr("no entry of the store is about"));
  EXPECT_THAT(said({"show", "interface", "nonsense"}, kWrongCommandLine), HasSubstr("nonsense"));
  EXPECT_THAT(said({"show", "config", "--key", "nonsense"}, kWrongCommandLine),
              HasSubstr("or the name of an interface"));

  // What a check finds wrong with an entry is told with the name too.
  writer_.kill(SIGTERM);
  EXPECT_EQ(writer_.join(), 0);
  {
    ASSERT_TRUE(StoreRoot::claim(StoreRoot::Role::writer).isOk());
    Shoal::ShoalMap<InLifImageEntry> image;
    ASSERT_TRUE(
        image.mount({tables()[1].imagePath, InLifImage::kMaxEntries, 0, StoreRoot::Role::writer}).isOk());
    image.del({5, InLifModelEntryKey(9)});
    StoreRoot::release();
  }
  EXPECT_THAT(said({"check"}, kFound), HasSubstr("unit 5 key 9 (Vlan10|Ethernet4), version "));
  EXPECT_THAT(said({"check", "--json"}, kFound), HasSubstr(R"("interface":"Vlan10|Ethernet4")"));
}

}  // namespace
