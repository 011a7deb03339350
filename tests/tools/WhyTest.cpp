// What an operator asks of a running agent and of its store: why operations wait, what the log says, how long
// the stages take.
#include <gmock/gmock.h>

#include "Programs.h"

namespace {

using namespace Inlif;
using testing::HasSubstr;

class WhyTest : public ProgramsTest {};

TEST_F(WhyTest, theWholeCauseOfAWaitIsToldAndCounted) {
  Program agent = start({"agent", "--store", store_.directory()});
  AgentClient client;
  connect(client);
  Json const intf = {{"intf", "Ethernet7"}};
  asked(client, {{"op", "unit"}, {"id", 1}, {"table", "InLif0"}, {"unit", 0}});
  asked(client, {{"op", "unit"}, {"id", 2}, {"table", "InLif1"}, {"unit", 5}});
  asked(client,
        {{"op", "resource"}, {"id", 3}, {"resource", "qosProfileKey"}, {"key", intf}, {"state", "inLog"}});
  asked(
      client,
      {{"op", "write"}, {"id", "r"}, {"table", "InLif0"}, {"unit", 0}, {"key", 9}, {"qosProfileKey", intf}});
  for (int key = 0; key < 3; ++key)
    asked(
        client,
        {{"op", "write"}, {"id", 10 + key}, {"table", "InLif1"}, {"unit", 5}, {"key", key}, {"after", "r"}});
  Json const summary = asked(client, {{"op", "why"}, {"id", 20}});
  ASSERT_EQ(summary["causes"].size(), 1u) << "the dependency waits for the same resource";
  EXPECT_EQ(summary["causes"][0]["operations"], 4);
  EXPECT_EQ(summary["causes"][0]["cause"]["key"], intf);

  Program all = start({"why", "--store", store_.directory(), "--all"});
  EXPECT_EQ(all.join(), 0) << all.err();
  std::string const root =
      "waits for qosProfileKey {\"intf\":\"Ethernet7\"} of LoamQos::QosProfile.LoamInLif (inLog)";
  EXPECT_THAT(all.out(), testing::MatchesRegex(
                             "InLif0 unit 0 write of key 9: [0-9.]+ s old, asked (once|[0-9]+ times), .*"));
  EXPECT_THAT(all.out(),
              HasSubstr(root + "; until qosProfileKey is done or has failed\nInLif1 unit 5 write of key 0"));
  EXPECT_THAT(all.out(),
              HasSubstr("waits for the operation on key 9 of InLif0 unit 0 (unresolved), which " + root));
  Program one = start({"why", "InLif1", "5", "2", "--store", store_.directory()});
  EXPECT_EQ(one.join(), 0) << one.err();
  EXPECT_THAT(one.out(), HasSubstr("key 2: "));
  EXPECT_THAT(one.out(),
              HasSubstr("not asked yet, stands behind InLif1 unit 5 write of key 0, which waits for"));
  Program wrong = start({"why", "InLif1", "6", "--store", store_.directory()});
  EXPECT_EQ(wrong.join(), kRefused);
  EXPECT_THAT(wrong.err(), HasSubstr("InLif1 has no unit 6"));

  asked(client,
        {{"op", "resource"}, {"id", 4}, {"resource", "qosProfileKey"}, {"key", intf}, {"state", "done"}});
  EXPECT_EQ(asked(client, {{"op", "why"}, {"id", 21}})["queued"], 0);
  Json const latency = asked(client, {{"op", "latency"}, {"id", 22}})["units"][1];
  EXPECT_EQ(latency["unit"], 5);
  EXPECT_EQ(latency["head"]["operations"], 3);
  EXPECT_LE(latency["head"]["p50Us"], latency["behind"]["maxUs"]) << "the last two waited behind the first";
  EXPECT_EQ(latency["hardware"]["measured"], 0) << "no writer runs";
  EXPECT_EQ(asked(client, {{"op", "quit"}, {"id", "q"}})["leaks"], 0);
}

// No writer runs at first, so every record stands; then one takes them, and the clean-up leaves a gap.
TEST_F(WhyTest, theLogIsReadWithItsChangesAndItsGaps) {
  std::string operations = R"({"op":"unit","id":0,"table":"InLif1","unit":0}
{"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"write","id":2,"table":"InLif0","unit":0,"key":1}
{"op":"write","id":3,"table":"InLif1","unit":0,"key":5,"after":2}
{"op":"write","id":4,"table":"InLif1","unit":0,"key":5,"l2AdjId":7}
{"op":"write","id":5,"table":"InLif1","unit":0,"key":6}
{"op":"remove","id":6,"table":"InLif1","unit":0,"key":6}
)";
  std::string const end = "{\"op\":\"wait\",\"id\":7,\"timeoutMs\":WAIT}\n{\"op\":\"quit\",\"id\":8}\n";
  auto const ending = [&](char const* wait) { return std::string(end).replace(end.find("WAIT"), 4, wait); };
  agent(operations + ending("300"));
  auto const log = [&](std::vector<std::string> more) {
    std::vector<std::string> arguments = {"log", "--store", store_.directory(), "--table", "InLif1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Program program = start(arguments);
    EXPECT_EQ(program.join(), 0) << program.err();
    return program.out();
  };
  EXPECT_EQ(log({}),
            "InLif1 1 unit 0 write key 5: defaults alone; needs InLif0 1\n"
            "InLif1 2 unit 0 write key 5: fecId 0 -> 1 (before: write at 1)\n"
            "InLif1 3 unit 0 write key 6: defaults alone\n"
            "InLif1 4 unit 0 remove key 6 (before: write at 3)\n");
  EXPECT_EQ(Json::parse(log({"--from", "2", "--key", "5", "--json"}))["changed"], (Json{{"fecId", {0, 1}}}));
  Program writer = startWriter();
  operations = R"({"op":"unit","id":0,"table":"InLif1","unit":0}
)" + ending("20000");
  agent(operations);
  EXPECT_EQ(
      log({"--from", "1"}),
      "InLif1: versions 1 to 4 are no longer in the log; of what they did there still stand 1 records:\n"
      "InLif1 2 unit 0 stands key 5: fecId 1\n");
}

}  // namespace
