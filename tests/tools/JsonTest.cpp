// Keys and entries as people write them: what is printed can be read back, and what is wrong is refused with
// value and expectation.
#include "LoamInLif/Kinds.h"
#include "tools/Refusals.h"
#include "tools/json/EntryJson.h"

namespace {

using namespace Inlif;
using LoamTunnelNiLib::InLifModelEntry;
using testing::HasSubstr;

Pivot::Status read(std::string const& text, InLifModelEntry& entry) {
  Document line;
  Pivot::Status const status = operationFrom(text, line);
  EXPECT_TRUE(status.isOk()) << status.message();
  ObjectReader in(line.root(), ObjectPlace("write"));
  InLifModelEntry const before = entry;
  entryFrom(in, entry);
  if (!in.isOk()) {
    EXPECT_TRUE(entry.isEq(before)) << "a refused entry is not half-read: " << text;
  }
  return in.finish();
}

std::string refusalOf(std::string const& text) {
  InLifModelEntry entry;
  Pivot::Status const status = read(text, entry);
  EXPECT_FALSE(status.isOk()) << text;
  return status.message();
}

TEST(EntryJson, noTextOfAnyoneSteersATerminal) {
  std::string const hostile =
      "\x1b[2J \xC2\x9b"
      "2J \x7f \xE2\x80\xAE \xC3\xA4";
  std::string const text = jsonText(Json(hostile));
  EXPECT_EQ(text, "\"\\u001b[2J \\u009b2J \\u007f \\u202e \xC3\xA4\"");
  EXPECT_EQ(Json::parse(text), hostile);
  EXPECT_THAT(refusalOf(R"({"key": 1, "qosProfileKey": {"intf": "Eth\u009b2J\u202e"}})"),
              HasSubstr("\"Eth?2J?\" is no interface"));
}

TEST(EntryJson, whatIsPrintedIsReadBack) {
  std::string client(98, '0');
  client.replace(0, 4, "fe01");
  InLifModelEntry entry;
  Pivot::Status const status = read(R"({"key": "0x50064", "client": ")" + client + R"(",
    "inLifDataKey": {"intf": "Ethernet1/2.100", "module": 3}, "inLifDataVlanKey": {"intf": "Vlan100"},
    "srv6EndpointCounterRequestKey": {"object": "0xffffffffffffffff", "module": 1, "engine": 2, "direction": 1},
    "l2CounterRequestKey": {"object": 9}, "l3CounterRequestKey": {"object": 0, "engine": 5},
    "learnEnableKey": {"intf": "Po0001.10"}, "learnEnableVlanKey": {"intf": "Vlan100", "kind": "vlan"},
    "vlanEditProfileKey": {"service+customer": {"action": "edit", "tagsRemoved": 2, "tagsAdded": 1, "outerVlan": 12, "outerTpid": "0x8100"},
                           "untagged": {"action": "drop"}},
    "qosProfileKey": {"intf": "Ethernet1"}, "l2AdjId": "0x10"})",
                                    entry);
  ASSERT_TRUE(status.isOk()) << status.message();
  LoamInLif::forEachKind(
      [&]<class Kind>() { EXPECT_FALSE(Kind::isNullKey(entry.rsrcKeys.*Kind::keyField)) << Kind::name; });
  EXPECT_EQ(entry.logEntry.client[0], std::byte{0xfe});

  Json printed = {{"key", entry.logEntry.key.value()}};
  addEntry(printed, entry);
  EXPECT_EQ(printed["learnEnableKey"]["intf"], "Po0001.10");
  EXPECT_EQ(printed["resolved"]["l2CrpsIndex"], 0xFFFFFFFFu);
  printed.erase("resolved");
  InLifModelEntry again;
  ASSERT_TRUE(read(printed.dump(), again).isOk());
  EXPECT_TRUE(again.isEq(entry));
}

TEST(EntryJson, omittedAndEmptyKeysAreNull) {
  InLifModelEntry bare;
  ASSERT_TRUE(read(R"({"key": 5})", bare).isOk());
  InLifModelEntry empty;
  ASSERT_TRUE(
      read(R"({"key": 5, "qosProfileKey": {}, "vlanEditProfileKey": {}, "l2AdjId": 0})", empty).isOk());
  EXPECT_TRUE(bare.isEq(empty));
  EXPECT_TRUE(bare.rsrcKeys.isEq({}));
  Json printed;
  addEntry(printed, bare);
  EXPECT_EQ(printed.size(), 2u) << "client and resolved alone: " << printed;
}

TEST(EntryJson, refusalsNameValueAndExpectation) {
  ToolsTest::expectRefusals(&refusalOf, ToolsTest::refusalsOf("entries"));
  std::string badByte(98, '0');
  badByte[11] = 'g';
  EXPECT_THAT(refusalOf(R"({"key": 1, "client": ")" + badByte + "\"}"), HasSubstr("\"0g\" at byte 5"));
}

}  // namespace
