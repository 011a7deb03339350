// Inspection of a running agent: what paths lead to, refusals that name what was expected, changes and calls, and a
// long walk beside another client. And the same by the command.
#include <fmt/ranges.h>

#include "Programs.h"
#include "Refusals.h"
#include "tools/inspect/InspectPath.h"

namespace {

using namespace Inlif;

class InspectTest : public ProgramsTest {
 protected:
  // Unit 3 has a committed entry with two resources, and one that waits for a resource.
  InspectTest() {
    agentStarts({"--suppress-initial-mark"});
    ask(R"("op":"unit","table":"InLif1","unit":3)");
    ask(R"("op":"write","table":"InLif1","unit":3,"key":5,"qosProfileKey":{"intf":"Ethernet3/1"},)"
        R"("inLifDataKey":{"intf":"Ethernet1.100"})");
    ask(R"("op":"count","table":"InLif1","unit":3)");
    ask(R"("op":"resource","resource":"learnEnableKey","defaultState":"unresolved")");
    ask(R"("op":"write","table":"InLif1","unit":3,"key":7,"learnEnableKey":{"intf":"Vlan7"})");
  }
  // The nodes of an inspection, and its answer as the last of them.
  std::vector<Json> inspect(std::string const& path, Json more = Json::object()) {
    more.update({{"op", "inspect"}, {"id", "i"}, {"path", path}});
    client_.send(more);
    return rest(client_);
  }
  static std::vector<Json> rest(AgentClient& client) {
    std::vector<Json> lines;
    Json line;
    while (client.receive(line, 20000)) {
      if (!line.contains("id") || line["id"] != "i") continue;
      lines.push_back(line);
      if (line.contains("ok")) return lines;
    }
    ADD_FAILURE() << "no answer";
    return {Json::object()};
  }
  // Name and what the first nodes say, without their classes.
  std::vector<std::string> words(std::string const& path, Json more = Json::object()) {
    std::vector<std::string> words;
    for (Json const& node : inspect(path, std::move(more))) {
      if (node.contains("error")) words.push_back(node["error"].get<std::string>());
      if (!node.contains("name")) continue;
      std::string word = node["name"].get<std::string>();
      for (char const* what : {"count", "value"}) {
        if (node.contains(what)) word += ": " + node[what].dump();
      }
      words.push_back(std::string(2 * node["depth"].get<std::size_t>(), ' ') + word);
    }
    return words;
  }
  // A path of a case and, behind it, what else is asked.
  static std::pair<std::string, Json> asked(std::string const& text) {
    std::size_t const end = text.find(' ');
    return {text.substr(0, end), end == std::string::npos ? Json::object() : Json::parse(text.substr(end))};
  }
  std::string refusal(std::string const& path, Json more = Json::object()) {
    Json const answer = inspect(path, std::move(more)).back();
    return answer.contains("error") ? answer["error"].get<std::string>() : "done: " + answer.dump();
  }
};

std::string const kUnit = "/InLif1/units/3";

TEST_F(InspectTest, pathsLeadThroughFieldsAndMembers) {
  for (ToolsTest::Refusal const& one : ToolsTest::refusalsOf("paths")) {
    auto const [path, more] = asked(one.text);
    std::string const told =
        fmt::format("{} | {}", fmt::join(words(path, more), " | "), inspect(path, more).back().dump());
    EXPECT_THAT(told, AllOf(HasSubstr(one.value), HasSubstr(one.expectation))) << one.text;
  }
  // Keys that no text makes are compared.
  std::string const data = kUnit + "/inLifDataLinkage/entryUsageSm";
  std::string const key = inspect(data)[1]["name"].get<std::string>();
  EXPECT_THAT(words(data + "/" + pathComponent(key) + "/entryUsage/5"), ElementsAre(HasSubstr(": true")));
  std::string const set = inspect("/group/swTableSet")[2]["name"].get<std::string>();
  EXPECT_EQ(inspect("/group/swTableSet/" + set + "/swTable", {{"count", true}}).back()["count"], 1);
}

TEST_F(InspectTest, refusalsNameTheComponentAndWhatExists) {
  for (ToolsTest::Refusal const& one : ToolsTest::refusalsOf("inspections")) {
    auto const [path, more] = asked(one.text);
    ToolsTest::expectRefusal(refusal(path, more), one);
  }
}

TEST_F(InspectTest, writesAndCallsOnlyWhatTheRecordsAllow) {
  EXPECT_TRUE(inspect(kUnit + "/inMarkingState", {{"write", "true"}}).back()["ok"]);
  EXPECT_TRUE(inspect(kUnit + "/markedKey/0x11", {{"write", true}}).back()["ok"]);
  EXPECT_THAT(words(kUnit), testing::IsSupersetOf({"  inMarkingState: true", "  markedKey: 1"}));
  EXPECT_TRUE(inspect(kUnit + "/markedKey/17", {{"remove", true}}).back()["ok"]);
  EXPECT_EQ(inspect(kUnit + "/markedKey", {{"count", true}}).back()["count"], 0);

  EXPECT_THAT(words(kUnit + "/entryHas", {{"call", {"5"}}}), ElementsAre("result: true"));
  EXPECT_THAT(words(kUnit + "/entryRead", {{"call", {5}}, {"depth", 2}}), testing::Contains("    key: 5"));
  // An object as an argument, by its path.
  std::string const linkage = kUnit + "/learnEnableLinkage";
  EXPECT_THAT(words(linkage + "/entryResolutionState", {{"call", {kUnit + "/transientAddEntry/7"}}}),
              ElementsAre("result: \"entryStateUnresolved\""));

  // A resource key in use is set by its handle, not by what it gives.
  std::string const profile = kUnit + "/qosProfileLinkage/entryUsageSm/\"Ethernet3/1\"";
  EXPECT_THAT(words(profile, {{"write", {profile + "/resPtr"}}}), testing::Contains("  entryUsage: 1"));
  EXPECT_THAT(refusal(profile, {{"write", {profile}}}), HasSubstr("QosProfileResourceTable::ResourceHandle"));

  // What the operation itself raises is told, and the agent lives on.
  EXPECT_THAT(refusal(kUnit + "/transientAddEntry/9", {{"write", "null"}}),
              HasSubstr("null pointer given for attribute transientAddEntry (field 899) of "
                        "LoamInLif::InLif1SwTable in module _InLif1SwTable_"));
  EXPECT_EQ(ask(R"("op":"quit")")["leaks"], 0);
}

TEST_F(InspectTest, aLongWalkHoldsItsOwnChannelAlone) {
  constexpr int kWalked = 2000;
  client_.send({{"op", "unit"}, {"id", "u"}, {"table", "InLif0"}, {"unit", 0}});
  for (int key = 0; key < kWalked; ++key)
    client_.send({{"op", "write"}, {"id", key}, {"table", "InLif0"}, {"unit", 0}, {"key", key}});
  ask(R"("op":"has","table":"InLif0","unit":0,"key":1)");
  std::string const log = "/InLif0/entryLog/tableEntryLog/entryLogConfig";
  while (inspect(log, {{"count", true}}).back()["count"] != kWalked) {
  }
  // Several megabytes, which nobody takes for the moment.
  AgentClient slow;
  connect(slow);
  slow.send({{"op", "inspect"}, {"id", "i"}, {"path", log}, {"depth", 4}});
  Json first;
  ASSERT_TRUE(slow.receive(first, 20000));
  for (int i = 0; i < 50; ++i) ask(R"("op":"has","table":"InLif0","unit":0,"key":1)");
  std::vector<Json> const lines = rest(slow);
  EXPECT_EQ(std::ranges::count_if(lines, [](Json const& one) { return one.value("depth", 0) == 1; }),
            kWalked);
  EXPECT_EQ(lines.back()["nodes"], lines.size());
}

TEST_F(InspectTest, theCommandPrintsTreesAndDocuments) {
  EXPECT_EQ(said({"inspect", kUnit + "/markedKey"}),
            kUnit + "/markedKey: 0 members, LoamTunnelNiLib::InLifModelEntryKey to bool\n");
  Json const document = Json::parse(said({"inspect", kUnit, "--depth", "3", "--json"}));
  EXPECT_EQ(document["@type"], "LoamInLif::InLif1SwTable");
  EXPECT_EQ(document["transientAddEntry"]["7"]["key"], 7);
  EXPECT_EQ(said({"inspect", kUnit + "/entryHas", "--call", "6"}), "result: false\n");
  EXPECT_EQ(said({"inspect", kUnit + "/entrys", "--call"}), "result: 2\n");
  EXPECT_EQ(said({"inspect", kUnit + "/inMarkingState", "--write", "true"}), "");
  EXPECT_THAT(said({"inspect", "/InLif9"}, kRefused),
              HasSubstr("inlif: inspect: path /InLif9: there is no root"));

  Json const type = Json::parse(said({"types", "InLif1SwTable", "--json"}));
  EXPECT_EQ(type["moduleName"], "_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule");
  EXPECT_EQ(type["fields"].back()["attributeId"], 928);
  EXPECT_THAT(said({"types", "InLif1QosProfileLinkage::LocalUsageUpdateSm"}),
              AllOf(HasSubstr("made from (resPtr: "), HasSubstr("entryUsage"), HasSubstr("collection rw")));
  EXPECT_THAT(said({"types", "Nothing"}, kWrongCommandLine), HasSubstr("no such type"));
}

}  // namespace
