// What an operator asks of a running agent and of its store: why operations wait, what the log says, how long
// the stages take.

#include "Programs.h"

namespace {

using namespace Inlif;

using WhyTest = ProgramsTest;

TEST_F(WhyTest, theWholeCauseOfAWaitIsToldAndCounted) {
  agentStarts();
  makeUnit("InLif0", 0), makeUnit("InLif1", 5);
  std::string const key = R"({"intf":"Ethernet7"})";
  std::string const steer = R"("op":"resource","resource":"qosProfileKey","key":)" + key + R"(,"state":)";
  ask(steer + R"("inLog")");
  send(R"({"op":"write","id":"r","table":"InLif0","unit":0,"key":9,"qosProfileKey":)" + key + "}");
  for (char const* each : {"0", "1", "2"})
    ask("write", "InLif1", 5, R"(,"after":"r","key":)" + std::string(each));
  Json const summary = ask(R"("op":"why")");
  ASSERT_EQ(summary["causes"].size(), 1u) << "the dependency waits for the same resource";
  EXPECT_EQ(summary["causes"][0]["operations"], 4);
  EXPECT_EQ(summary["causes"][0]["queues"], 2);
  EXPECT_EQ(summary["causes"][0]["oldest"]["table"], "InLif0");
  EXPECT_EQ(summary["causes"][0]["cause"]["key"], Json::parse(key));

  std::string const all = said({"why", "--all"});
  std::string const root =
      "waits for qosProfileKey {\"intf\":\"Ethernet7\"} of LoamQos::QosProfile.LoamInLif (inLog)";
  EXPECT_THAT(all, testing::MatchesRegex(
                       "InLif0 unit 0 write of key 9: [0-9.]+ m?s old, asked (once|[0-9]+ times), .*"));
  EXPECT_THAT(all,
              HasSubstr(root + "; until qosProfileKey is done or has failed\nInLif1 unit 5 write of key 0"));
  EXPECT_THAT(all,
              HasSubstr("waits for the operation on key 9 of InLif0 unit 0 (unresolved), which " + root));
  EXPECT_THAT(said({"why", "InLif1", "5", "2"}),
              AllOf(HasSubstr("key 2: "),
                    HasSubstr("not asked yet, stands behind InLif1 unit 5 write of key 0, which waits for")));
  EXPECT_THAT(said({"why", "InLif1", "6"}, kRefused), HasSubstr("InLif1 has no unit 6"));

  ask(steer + R"("done")");
  EXPECT_EQ(ask(R"("op":"why")")["queued"], 0);
  Json const latency = ask(R"("op":"latency")")["units"][1];
  EXPECT_EQ(latency["unit"], 5);
  EXPECT_EQ(latency["atHead"]["operations"], 3);
  EXPECT_LE(latency["atHead"]["p50Us"], latency["behindOthers"]["maxUs"])
      << "the last two waited behind the first";
  EXPECT_EQ(latency["toHardware"]["measured"], 0) << "no writer runs";
  EXPECT_EQ(ask(R"("op":"quit")")["leaks"], 0);
}

// No writer runs at first, so every record stands; then one takes them, and the clean-up leaves a gap.
TEST_F(WhyTest, theLogIsReadWithItsChangesAndItsGaps) {
  std::string const unit = R"({"op":"unit","id":0,"table":"InLif1","unit":0})"
                           "\n";
  auto const live = [&](std::string const& operations, char const* wait) {
    agent(unit + operations + R"({"op":"wait","id":7,"timeoutMs":)" + wait + "}\n" +
          R"({"op":"quit","id":8})");
  };
  live(R"({"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"write","id":2,"table":"InLif0","unit":0,"key":1}
{"op":"write","id":3,"table":"InLif1","unit":0,"key":5,"after":2}
{"op":"write","id":4,"table":"InLif1","unit":0,"key":5,"l2AdjId":7}
{"op":"write","id":5,"table":"InLif1","unit":0,"key":6}
{"op":"remove","id":6,"table":"InLif1","unit":0,"key":6}
)",
       "300");
  EXPECT_EQ(said({"log", "--table", "InLif1"}),
            "table      version  unit  does           key  what\n"
            "InLif1           1     0  write            5  defaults alone; needs InLif0 1\n"
            "InLif1           2     0  write            5  fecId 0 -> 1 (before: write at 1)\n"
            "InLif1           3     0  write            6  defaults alone\n"
            "InLif1           4     0  remove           6  (before: write at 3)\n");
  EXPECT_EQ(
      Json::parse(said({"log", "--table", "InLif1", "--from", "2", "--key", "5", "--json"}))["changedFields"],
      (Json{{"fecId", {0, 1}}}));
  Program writer = startWriter();
  live("", "20000");
  EXPECT_EQ(
      said({"log", "--table", "InLif1", "--from", "1"}),
      "table      version  unit  does           key  what\n"
      "InLif1: versions 1 to 4 are no longer in the log; of what they did there still stand 1 records:\n"
      "InLif1           2     0  live             5  fecId 1\n");
}

// What a hardware that makes trouble refuses is seen by every way of asking, and gone when it is published again to one
// that does not.
TEST_F(WhyTest, whatIsNotInTheHardwareIsToldAndPublishedAgain) {
  std::vector<std::string> const drive{"writer", "--store", store_.directory()};
  std::optional<Program> writer;
  writer.emplace(store_.directory(), std::vector<std::string>{drive[0], drive[1], drive[2], "--faults", "2"});
  agentStarts();
  makeUnit("InLif1", 5);
  for (int key = 0; key < 40; ++key) ask("write", "InLif1", 5, R"(,"key":)" + std::to_string(key));
  EXPECT_EQ(event("hardwareFailed")["table"], "InLif1");
  ask(R"("op":"wait","timeoutMs":20000)");
  // The first that failed may be in the hardware by now: a reset has everything asked again.
  std::string const failures = said({"show", "failures", "--json"});
  std::string const key = Json::parse(failures.substr(0, failures.find('\n')))["key"].dump();
  EXPECT_THAT(said({"show", "failures", "--unit", "5"}), HasSubstr("a trial refuses key " + key));
  EXPECT_EQ(Json::parse(said({"show", "failures", "--key", key, "--json"}))["does"], "write");
  EXPECT_THAT(said({"show", "status"}), HasSubstr("failed in the hardware; see inlif show failures"));
  EXPECT_THAT(said({"why", "InLif1", "5", key}),
              HasSubstr("InLif1 unit 5 key " + key + ": write refused as "));
  EXPECT_THAT(said({"check"}), HasSubstr("nothing found"));
  EXPECT_THAT(refusal(R"("op":"retry","class":"fool")"), HasSubstr("expected one of full, invalid"));
  writer->kill(SIGTERM);
  EXPECT_EQ(writer->join(), 0);
  writer.emplace(store_.directory(), drive);
  EXPECT_THAT(said({"retry", "InLif1"}), HasSubstr(" published again, 0 not"));
  event("hardwareRecovered");
  ask(R"("op":"wait","timeoutMs":20000)");
  EXPECT_TRUE(eventually([&] { return ask(R"("op":"failures")")["count"] == 0; }));
  EXPECT_EQ(said({"show", "failures"}), "nothing has failed in the hardware\n");
}

}  // namespace
