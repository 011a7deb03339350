// Clients that take an agent through a restart: who is waited for, what is swept and what is not, and units that
// nobody serves any more. Each life is a process of its own, and ends by SIGKILL.

#include "Programs.h"

namespace {

using namespace Inlif;

class RestartTest : public WithWriterTest {
 protected:
  void unit(unsigned unit) { makeUnit("InLif1", unit); }
  void write(unsigned unit, unsigned key) {
    ask("write", "InLif1", unit, fmt::format(R"(,"key":{0},"qosProfileKey":{{"intf":"Ethernet{0}"}})", key));
    ask(R"("op":"wait")");
  }
  Json resourceOf(unsigned key) {
    return ask(
        fmt::format(R"("op":"resource","resource":"qosProfileKey","key":{{"intf":"Ethernet{}"}})", key));
  }
};

TEST_F(RestartTest, aSweepWaitsForEveryClientAlsoOfAnEarlierLife) {
  agentStarts();
  for (std::string const name : {"bgp", "lag"}) ask(R"("op":"client","name":")" + name + "\"");
  unit(0);
  for (unsigned key : {1U, 2U, 3U}) write(0, key);

  agentStarts({"--sweep-alarm", "1", "--client", "stp"});
  unit(0);
  write(0, 2);
  ask(R"("op":"replayed","client":"bgp")");
  EXPECT_EQ(event("sweepAlarm")["waitingFor"], (Json{"lag", "stp"}));
  EXPECT_THAT(refusal(R"("op":"sweep")"), HasSubstr("waits for lag, stp"));
  EXPECT_THAT(refusal(R"("op":"replayed","client":"ospf")"), HasSubstr("bgp, lag, stp"));
  Json const plan = ask(R"("op":"sweep","plan":true)")["units"][0];
  EXPECT_EQ(plan["removed"], 2);
  EXPECT_EQ(plan["kept"], 1);
  EXPECT_THAT(plan["sample"].get<std::vector<int>>(), testing::UnorderedElementsAre(1, 3));
  EXPECT_EQ(count("InLif1", 0), 3) << "neither alarm nor plan sweeps";
  Json const told = ask(R"("op":"errors")")["errors"];
  EXPECT_TRUE(std::ranges::any_of(told,
                                  [](Json const& one) {
                                    return one["text"] == "no sweep after 1 s: it waits for lag, stp" &&
                                           one["count"] == 1;
                                  }))
      << "the alarm tells once: " << told;
  EXPECT_THAT(said({"show", "status"}), HasSubstr("client lag: not here yet"));

  ask(R"("op":"client","name":"stp","forget":true)");
  ask(R"("op":"replayed","client":"lag")");
  EXPECT_EQ(event("swept")["units"], Json::parse(R"([{"table":"InLif1","unit":0,"removed":2,"kept":1}])"));
  ask(R"("op":"wait")");
  EXPECT_THAT(said({"show", "image", "--table", "InLif1"}),
              AllOf(HasSubstr("  2          "), Not(HasSubstr("  3          "))));
  EXPECT_THAT(said({"show", "status"}),
              testing::ContainsRegex("restored +suppressed +swept\nInLif1 +0 +1 +3 +1 +2\n"));
  EXPECT_EQ(resourceOf(1)["handedOut"], false) << "nothing uses it any more";

  // Another round in the same life: what was said before the mark does not count.
  write(0, 4);
  ask(R"("op":"mark","table":"InLif1","unit":0)");
  EXPECT_THAT(refusal(R"("op":"sweep")"), HasSubstr("waits for bgp, lag"));
  write(0, 4);
  for (char const* name : {"bgp", "lag"}) ask(R"("op":"replayed","client":")" + std::string(name) + "\"");
  EXPECT_EQ(event("swept")["units"][0]["removed"], 1);
}

TEST_F(RestartTest, aLimitRefusesTheSweepAsAWhole) {
  agentStarts();
  ask(R"("op":"client","name":"bgp")");
  for (unsigned u : {0U, 1U}) {
    unit(u);
    for (unsigned key : {1U, 2U}) write(u, key);
  }
  agentStarts({"--sweep-limit", "50"});
  for (unsigned u : {0U, 1U}) unit(u);
  write(0, 1);
  ask(R"("op":"replayed","client":"bgp")");
  EXPECT_THAT(event("sweepRefused")["error"], HasSubstr("2 of 2 entries of InLif1 unit 1, 100 percent"));
  EXPECT_EQ(count("InLif1", 0), 2) << "its own half was within the limit";
  EXPECT_EQ(ask(R"("op":"sweep","limit":100)")["units"][1]["removed"], 2);
  // The answer comes before the removes are committed, and the next one after them.
  EXPECT_EQ(count("InLif1", 0), 1);

  agentStarts({"--suppress-initial-mark"});
  unit(0);
  ask(R"("op":"replayed","client":"bgp")");
  EXPECT_EQ(event("swept")["units"][0]["kept"], 1) << "nothing was marked, nothing goes";
}

TEST_F(RestartTest, unservedUnitsKeepTheirResourcesUntilTheyAreCleared) {
  agentStarts();
  ask(R"("op":"client","name":"bgp")");
  for (unsigned u : {0U, 5U, 7U, 9U}) {
    unit(u);
    write(u, u);
  }
  ask(R"("op":"resource","resource":"qosProfileKey","capacity":4)");
  agent_.reset();

  // One of them cannot be opened; one comes late, and has to be written again before the next sweep.
  std::string const path = store_.fileOf(tables()[1].configPath(7));
  std::filesystem::rename(path, path + ".away");
  std::filesystem::create_symlink("/dev/null", path);
  agentStarts();
  ask(R"("op":"resource","resource":"qosProfileKey","capacity":4)");
  unit(0);
  write(0, 0);
  EXPECT_THAT(refusal(R"("op":"reconcile")"), HasSubstr("waits for bgp"));
  ask(R"("op":"replayed","client":"bgp")");
  event("swept");
  EXPECT_EQ(resourceOf(7)["handedOut"], true) << "its entry is in the hardware";
  EXPECT_EQ(ask(R"("op":"status")")["unserved"].size(), 3u);

  ask(R"("op":"unitsMade","client":"bgp")");
  unit(9);
  EXPECT_THAT(refusal(R"("op":"sweep")"), HasSubstr("waits for bgp"));
  EXPECT_EQ(ask(R"("op":"reconcile","plan":true)")["units"].size(), 2u);
  Json answer = ask(R"("op":"reconcile")");
  EXPECT_EQ(answer["cleared"], Json::parse(R"([{"table":"InLif1","unit":5,"entries":1}])"));
  EXPECT_EQ(answer["notCleared"][0]["unit"], 7) << answer;
  EXPECT_THAT(agent_->err(), HasSubstr(" Inactive unit id: 7 is passed over, it cannot be mounted: "));
  ask(R"("op":"wait")");
  EXPECT_EQ(resourceOf(5)["handedOut"], true) << "unit 7 is unserved as before";
  std::filesystem::rename(path + ".away", path);
  EXPECT_EQ(ask(R"("op":"reconcile")")["cleared"][0]["unit"], 7);
  ask(R"("op":"wait")");
  EXPECT_EQ(resourceOf(7)["handedOut"], false);
  EXPECT_EQ(resourceOf(9)["users"], 1) << "restored and not yet swept";
}

TEST_F(RestartTest, theConfigurationIsAClientOfItsOwn) {
  std::string const path = file("config.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{},"Ethernet8":{}}})");
  agentStarts({"--config", path});
  ask(R"("op":"wait")");
  file("config.json", R"({"PORT":{"Ethernet0":{},"Ethernet8":{}}})");
  agentStarts({"--config", path});
  ask(R"("op":"wait")");
  EXPECT_EQ(count("InLif0", 0), 2) << "Ethernet4 was swept";
  ask(R"("op":"mark","table":"InLif0","unit":0)");
  Json const swept = event("swept")["units"];
  EXPECT_EQ(swept[0]["kept"], 2) << "it wrote everything again by itself: " << swept;

  // Names that cannot be read are no reason to wait for nobody.
  agent_.reset();
  std::ofstream(store_.directory() + "/clients.json") << R"(["config",)";
  EXPECT_THAT(said({"agent"}, kRefused), HasSubstr("clients.json"));
}

}  // namespace
