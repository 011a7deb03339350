// The command itself, as processes: the protocol of the agent, the road of a write through two processes,
// refusals that change nothing, a configuration that is read again, and command lines that are wrong.
#include <iterator>
#include <regex>

#include "Programs.h"
#include "Refusals.h"

namespace {

using namespace Inlif;

class AgentTest : public WithWriterTest {
 protected:
  using Ended = std::map<int, std::string>;  // by id
  // The next operations that end, and how.
  Ended nextEnded(std::size_t count) {
    Ended ended;
    for (Json message; ended.size() < count && client_.receive(message, 20000);) {
      std::string const event = message.value("event", "pending");
      if (event != "pending") ended[message["id"].get<int>()] = event;
    }
    return ended;
  }
};

// Others are refused. Without the file of its lock neither knows any more that it is alone; each ends within a second of
// its work.
TEST_F(AgentTest, aStoreInUseIsRefusedAndWhoeverLosesItsLockEnds) {
  agentStarts();
  EXPECT_EQ(std::filesystem::status(socketPath(store_.directory())).permissions(),
            std::filesystem::perms(0600));
  using VexSharedMem::StoreRoot;
  ASSERT_TRUE(eventually([] { return StoreRoot::holder(StoreRoot::Role::writer).alive; }));
  for (char const* command : {"agent", "writer"})
    EXPECT_THAT(said({command}, kRefused), HasSubstr(store_.directory()));
  makeUnit("InLif0", 0);  // the first ones are not disturbed
  for (char const* role : {"agent", "writer"}) std::filesystem::remove(store_.directory() + "/.lock-" + role);
  EXPECT_EQ(writer_.join(), 3);
  EXPECT_THAT(writer_.err(), HasSubstr(".lock-writer of this process was deleted"));
  Json answer;
  while (client_.ask({{"op", "status"}, {"id", "s"}}, answer).isOk()) {
  }
  EXPECT_EQ(agent_->join(), -SIGABRT);
  EXPECT_THAT(agent_->err(), HasSubstr("the store is still this agent's: store " + store_.directory()));
}

TEST_F(AgentTest, aFileOfOperationsIsDoneLineByLine) {
  auto const lines = agent(R"({"op":"unit","id":"u","table":"InLif0","unit":0}
{"op":"write","id":1,"table":"InLif0","unit":0,"key":"0x5","inLifDataKey":{"intf":"Ethernet1"},"l2AdjId":"0x20"}
{"op":"write","id":2,"table":"InLif0","unit":0,"key":6}
{"op":"remove","id":3,"table":"InLif0","unit":0,"key":6}
{"op":"wait","id":"w","timeoutMs":20000}
{"op":"walk","id":"k","table":"InLif0","unit":0}
{"op":"quit","id":"q"})");
  // wait and walk hold what follows, so a script needs no pauses.
  EXPECT_EQ(ofId(lines, "u"), (std::vector<Json>{{{"id", "u"}, {"ok", true}, {"entries", 0}}}));
  EXPECT_EQ(ofId(lines, 2),
            (std::vector<Json>{{{"id", 2}, {"ok", true}}, {{"id", 2}, {"event", "done"}, {"version", 2}}}));
  EXPECT_EQ(ofId(lines, 3)[1], (Json{{"id", 3}, {"event", "done"}, {"version", 3}}));
  auto const walked = ofId(lines, "k");
  ASSERT_EQ(walked.size(), 2u);
  EXPECT_EQ(walked[0]["entry"]["key"], 5);
  EXPECT_EQ(walked[0]["entry"]["l2AdjId"], 32);
  EXPECT_EQ(ofId(lines, "q"), (std::vector<Json>{{{"id", "q"}, {"ok", true}, {"leaks", 0}}}));
  writer_.kill(SIGTERM);
  EXPECT_EQ(writer_.join(), 0) << writer_.err();
}

TEST_F(AgentTest, eventsReadsAndWalksOverTheSocket) {
  agentStarts();
  makeUnit("InLif0", 0), makeUnit("InLif23", 7);
  ask(R"("op":"resource","resource":"qosProfileKey","key":{"intf":"Ethernet9"},"state":"failed")");
  send(R"({"op":"write","id":1,"table":"InLif0","unit":0,"key":5,"inLifDataKey":{"intf":"Ethernet1"}})");
  send(R"({"op":"write","id":2,"table":"InLif23","unit":7,"key":6,"after":1})");
  send(R"({"op":"write","id":3,"table":"InLif0","unit":0,"key":7,"qosProfileKey":{"intf":"Ethernet9"}})");
  send(R"({"op":"write","id":4,"table":"InLif23","unit":7,"key":8,"after":3})");
  std::map<int, std::string> ended;  // by id
  for (Json message; ended.size() < 4 && client_.receive(message, 20000);) {
    std::string const event = message.value("event", "pending");
    if (event != "pending") ended[message["id"].get<int>()] = event;
  }
  EXPECT_EQ(ended, (std::map<int, std::string>{{1, "done"}, {2, "done"}, {3, "failed"}, {4, "failed"}}));
  ask(R"("op":"wait")");
  Json const entry = ask(R"("op":"read","table":"InLif0","unit":0,"key":5)")["entry"];
  EXPECT_EQ(entry["inLifDataKey"]["intf"], "Ethernet1");
  EXPECT_NE(entry["resolved"]["inLifData"], 0) << "the resource gave a value";
  EXPECT_TRUE(ask(R"("op":"read","table":"InLif0","unit":0,"key":7)")["entry"].is_null());
  EXPECT_EQ(ask(R"("op":"walk","table":"InLif23","unit":7)")["count"], 1);
  Json const status = ask(R"("op":"status")")["tables"][0];
  EXPECT_EQ(status["reported"], status["written"]);
  EXPECT_FALSE(status.contains("behind"));
  EXPECT_EQ(status["units"][0]["entries"], 1);
  EXPECT_EQ(status["units"][0]["statistics"]["commits"], 2);
  EXPECT_EQ(ask(R"("op":"latency")")["units"][0]["toHardware"]["operations"], 1);

  // A changed resource reaches the entries that use it, in the hardware too; `show` looks on while both run.
  ask(R"("op":"resource","resource":"inLifDataKey","key":{"intf":"Ethernet1"},"value":77)");
  ask(R"("op":"wait")");
  EXPECT_EQ(Json::parse(said({"show", "image", "--json", "--table", "InLif0"}))["resolved"]["inLifData"], 77);
  EXPECT_EQ(ask(R"("op":"quit")")["leaks"], 0);
  EXPECT_EQ(agent_->join(), 0) << agent_->err();
}

using LonelyAgentTest = ProgramsTest;

TEST_F(LonelyAgentTest, withoutAWriterAWaitTellsWhatIsPendingAndShowWhatIsHeldBack) {
  auto const lines = agent(R"({"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"unit","id":2,"table":"InLif1","unit":3}
{"op":"write","id":3,"table":"InLif0","unit":0,"key":5,"qosProfileKey":{"intf":"Ethernet1"}}
{"op":"write","id":4,"table":"InLif1","unit":3,"key":9,"after":3}
{"op":"write","id":7,"table":"InLif0","unit":0,"key":6}
{"op":"wait","id":5,"timeoutMs":1500}
{"op":"quit","id":6}
)");
  ASSERT_EQ(ofId(lines, 5).size(), 1u);
  EXPECT_THAT(ofId(lines, 5)[0]["error"], HasSubstr("InLif1 unit 3: 0 queued, 1 in the log"));
  EXPECT_THAT(said({"show", "config", "--table", "InLif0", "--key", "0x5"}),
              HasSubstr("InLif0      0           5          1  qosProfileKey {\"intf\":\"Ethernet1\"} -> "));
  EXPECT_THAT(said({"show", "log", "--table", "InLif0"}),
              testing::ContainsRegex("InLif0 +1 +0 +write +5 .*\nInLif0 +2 +0 +write +6 "));
  EXPECT_THAT(said({"show", "status"}),
              HasSubstr("InLif1 version 1 (unit 3, key 9) is held back: it needs InLif0 version 1"));
  // The writer starts after the agent has gone, and takes both.
  Program writer = startWriter();
  Json status;
  EXPECT_TRUE(eventually([&] {
    std::string const told = said({"show", "status", "--json", "--table", "InLif1"});
    status = Json::parse(told.substr(told.find('\n')));  // behind the processes
    return status["reported"] == 1;
  }));
  EXPECT_EQ(status["imageEntries"], 1) << status;
}

TEST_F(LonelyAgentTest, whatIsWrongIsRefusedAndChangesNothing) {
  auto const cases = ToolsTest::refusalsOf("operations");
  // One write is under way for ever.
  std::string operations = R"({"op":"unit","id":0,"table":"InLif0","unit":0}
{"op":"resource","id":"r","resource":"qosProfileKey","defaultState":"unresolved"}
{"op":"write","id":"w","table":"InLif0","unit":0,"key":1,"qosProfileKey":{"intf":"Ethernet1"}}
{"op":"status","id":"before"}
)";
  for (auto const& wrong : cases) operations += wrong.text + "\n";
  operations += R"({"op":"status","id":")" + std::string(129, 'i') + "\"}\n";
  operations +=
      std::string((std::size_t{1} << 20) + 2, ' ') + "\n" + std::string((std::size_t{1} << 21), 'x') + "\n";
  operations += "{\"op\":\"status\",\"id\":\"after\"}\n{\"op\":\"quit\",\"id\":\"q\"}\n";
  auto const lines = agent(operations);
  std::vector<std::string> errors;
  for (Json const& line : lines) {
    if (line.contains("error")) errors.push_back(line["error"]);
  }
  ASSERT_EQ(errors.size(), cases.size() + 3);
  EXPECT_THAT(errors[cases.size()], HasSubstr("'id' has 129 bytes; expected at most 128"));
  for (std::size_t i = 0; i < cases.size(); ++i) ToolsTest::expectRefusal(errors[i], cases[i]);
  EXPECT_THAT(errors.back(), HasSubstr("longer than 1 MiB"));
  EXPECT_EQ(ofId(lines, "before")[0]["tables"], ofId(lines, "after")[0]["tables"]);
}

TEST_F(AgentTest, aConfigurationIsReadAgainAndOnlyTheDifferenceWritten) {
  auto const configuration = [this](char const* text) { return file("config.json", text); };
  auto const counts = [](Json const& answer) {
    return answer["writes"].dump() + " " + answer["removed"].dump() + " " + answer["unchanged"].dump();
  };
  std::string const path =
      configuration(R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},"VLAN_SUB_INTERFACE":{"Eth0.10":{}}})");
  agentStarts({"--config", path});
  ask(R"("op":"wait")");
  EXPECT_EQ(count("InLif0", 0), 2);
  EXPECT_EQ(counts(ask(R"("op":"config")")), "0 0 3");

  configuration(R"({"PORT":{"Ethernet0":{"mtu":1500},"Ethernet8":{}}})");
  agent_->kill(SIGHUP);
  EXPECT_EQ(counts(event("config")), "2 2 0");

  configuration(R"({"PORT":{"Ethernet0":{"mtu":1501},"Ethernet8":{"mtu":10}}})");
  EXPECT_THAT(refusal(R"("op":"config")"), HasSubstr("PORT \"Ethernet8\": 'mtu' is 10"));
  configuration(R"({"PORT":{"Ethernet0":{"mtu":1500},"Ethernet8":{}}})");
  EXPECT_EQ(counts(ask(R"("op":"config")")), "0 0 2") << "the broken file changed nothing";
  ask(R"("op":"quit")");
  EXPECT_EQ(agent_->join(), 0) << agent_->err();
}

class ConfigTest : public WithWriterTest {
 protected:
  // So many sub-interfaces, 4000 of each port, from one on.
  std::string configuration(int count, int from = 0) {
    std::string ports;
    std::string rows;
    for (int i = from; i < from + count; ++i) {
      rows += fmt::format(R"({}"Ethernet{}.{}":{{}})", i > from ? "," : "", i / 4000, 1 + i % 4000);
    }
    for (int i = 0; i <= (from + count) / 4000; ++i)
      ports += fmt::format(R"({}"Ethernet{}":{{"mode":"trunk"}})", i > 0 ? "," : "", i);
    return file("config.json", "{\"PORT\":{" + ports + "},\"VLAN_SUB_INTERFACE\":{" + rows + "}}");
  }
};

TEST_F(ConfigTest, whatWouldRemoveTooMuchIsRefusedUnlessForcedAlsoAfterARestart) {
  agentStarts({"--config", configuration(40)});
  ask(R"("op":"wait")");
  EXPECT_EQ(ask("walk", "InLif23", 0, R"(,"limit":2)")["count"], 2);
  EXPECT_THAT(said({"config", "--plan", configuration(20)}), HasSubstr("20 to remove, 20 unchanged\n"));
  std::string const path = configuration(19);
  std::string const refused =
      "would remove 21 of 40 interfaces of InLif23, 52 percent, which is more than the limit";
  EXPECT_THAT(refusal(R"("op":"config")"), HasSubstr(refused));
  agent_->kill(SIGHUP);
  EXPECT_THAT(event("config")["error"].dump(), HasSubstr(refused));
  EXPECT_THAT(ask(R"("op":"status")")["config"]["refused"].dump(), HasSubstr(refused));
  std::string const plan = said({"config", "--plan", path}, kRefused);
  EXPECT_THAT(plan, HasSubstr("remove  InLif23  1073741864  Ethernet0.40\n"));
  EXPECT_THAT(plan, HasSubstr("0 to add, 0 to change, 21 to remove, 19 unchanged\n"));
  EXPECT_THAT(plan, HasSubstr(refused));
  EXPECT_EQ(count("InLif23", 0), 40);

  // Nothing is swept, whoever else is ready, as long as the next life refuses it too.
  agentStarts({"--config", path});
  ask(R"("op":"client","name":"other")");
  ask(R"("op":"replayed","client":"other")");
  EXPECT_EQ(ask(R"("op":"wait")")["ok"], true);
  EXPECT_EQ(count("InLif23", 0), 40);
  EXPECT_THAT(agent_->err(), HasSubstr(refused));
  agent_.reset();
  EXPECT_EQ(said({"config", "--plan", path}, kRefused), plan) << "without an agent the store tells the same";

  agentStarts();
  EXPECT_THAT(said({"config", "--force", path}),
              HasSubstr("19 written, 0 removed, 0 unchanged, 21 left to the sweep"));
  ask(R"("op":"replayed","client":"other")");
  EXPECT_EQ(event("swept")["units"][2]["kept"], 19);
  EXPECT_THAT(said({"config", configuration(16)}), HasSubstr("0 written, 3 removed, 16 unchanged, 0 failed"));
  EXPECT_THAT(said({"config", configuration(0)}), HasSubstr("0 written, 16 removed")) << "few may all go";
  EXPECT_EQ(count("InLif23", 0), 0);
}

TEST_F(ConfigTest, othersAreAnsweredWhileALargeOneIsReadAndReadingsTakeTheirTurns) {
  agentStarts();
  constexpr int kInterfaces = kSanitized ? 2'000 : 20'000;
  std::string const path = configuration(kInterfaces);
  AgentClient other;
  connect(other);
  other.send({{"op", "config"}, {"id", "first"}, {"file", path}});
  std::size_t answered = 0;
  Json message;
  ask(R"("op":"status")");
  while (!other.receive(message, 0) || !message.contains("ok")) {
    EXPECT_LT(ask(R"("op":"status")")["longestTurnUs"], kSanitized ? 2'000'000 : 100'000);
    ++answered;
  }
  EXPECT_GT(answered, 5u);
  EXPECT_EQ(message["writes"], kInterfaces) << message;

  // A mark in the middle of the next one: everything is written again before a sweep can be done.
  other.send({{"op", "config"}, {"id", "second"}, {"file", configuration(kInterfaces, kInterfaces / 20)}});
  message = Json();
  other.receive(message, 0);
  EXPECT_FALSE(message.contains("ok")) << message;
  for (char const* table : {"InLif0", "InLif1", "InLif23"}) ask("mark", table, 0);
  ask(R"("op":"config")");
  ask(R"("op":"wait","timeoutMs":60000)");
  while (!other.receive(message, 0) || !message.contains("removed")) {
  }
  EXPECT_EQ(message["removed"], kInterfaces / 20) << message;
  EXPECT_EQ(count("InLif23", 0), kInterfaces);
}

TEST_F(ConfigTest, whatFailsIsToldOnceForAllWithTheFirstByName) {
  agentStarts();
  ask(R"("op":"resource","resource":"l3CounterRequestKey","capacity":5)");
  // The event may come before the answer, so another channel listens.
  AgentClient listener;
  connect(listener);
  Json const answer = ask(R"("op":"config","file":")" + configuration(30) + "\"");
  EXPECT_EQ(answer["failed"], 25);
  EXPECT_EQ(answer["failedByTable"][0]["table"], "InLif23");
  EXPECT_EQ(answer["failedByTable"][0]["count"], 25);
  Json const told = event(listener, "configFailed");
  EXPECT_EQ(told["count"], 25);
  EXPECT_EQ(told["sample"].size(), 10u);
  EXPECT_THAT(agent_->err(), HasSubstr("25 interfaces failed: Ethernet0.6, Ethernet0.7, "));
  EXPECT_THAT(agent_->err(), HasSubstr("Ethernet0.15 and 15 more; 25 of 30 stand as failed"));
  EXPECT_EQ(ask(R"("op":"status")")["config"]["failed"], 25);
  EXPECT_THAT(said({"config", configuration(30)}, kFound),
              HasSubstr("\nInLif23: 25 failed: Ethernet0.6, Ethernet0.7, "));
  ask(R"("op":"resource","resource":"l3CounterRequestKey","capacity":1000)");
  EXPECT_EQ(ask(R"("op":"config")")["failed"], 0) << "the next reading tries again";
}

TEST_F(AgentTest, aLossIsTold) {
  std::string const unit = R"({"op":"unit","id":1,"table":"InLif1","unit":4})";
  std::string const write = R"({"op":"write","id":2,"table":"InLif1","unit":4,"key":5})";
  std::string const end = "{\"op\":\"wait\",\"id\":3}\n{\"op\":\"quit\",\"id\":4}\n";
  agent(unit + "\n" + write + "\n" + end);
  EXPECT_EQ(ofId(agent(unit + "\n" + end), 1)[0]["entries"], 1) << "what was committed outlives the agent";
  ASSERT_EQ(std::remove(store_.fileOf(tables()[1].configPath(4)).c_str()), 0);
  auto const lines = agent(unit + "\n" + end);
  EXPECT_EQ(ofId(lines, 1)[0]["entries"], 0);
  EXPECT_THAT(lines, testing::Contains(Json{{"event", "wiped"}, {"table", "InLif1"}, {"what", "unit 4"}}));
}

TEST_F(LonelyAgentTest, aWrongCommandLineIsOneLineAndAStatus) {
  std::string const directory = store_.directory();
  std::filesystem::create_directory_symlink(directory, directory + "/link");
  std::filesystem::create_directory(directory + "/none");
  std::filesystem::permissions(directory + "/none", std::filesystem::perms::owner_all);
  std::ofstream(directory + "/none/something-else") << "no store";
  for (auto const& [line, status, text] : ToolsTest::refusalsOf("command lines")) {
    std::istringstream words(std::regex_replace(line, std::regex("STORE"), directory));
    std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
    std::ranges::replace(arguments, std::string("''"), std::string());
    Program program = start(arguments);
    EXPECT_EQ(std::to_string(program.join()), status) << line;
    std::string const said = program.err();
    EXPECT_THAT(said, HasSubstr(text)) << line;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory + "/none"), {}), 1) << "none is made";
}

TEST_F(AgentTest, steeredResourcesHoldOperationsBackAndLetThemGo) {
  agentStarts();
  makeUnit("InLif0", 0), makeUnit("InLif1", 0);
  std::string const key = R"({"customer":{"action":"edit","tagsRemoved":1}})";
  std::string const steer = R"("op":"resource","resource":"vlanEditProfileKey","key":)" + key;
  EXPECT_EQ(ask(steer + R"(,"state":"unresolved")")["state"], "unresolved");
  send(R"({"op":"write","id":1,"table":"InLif1","unit":0,"key":1,"vlanEditProfileKey":)" + key + "}");
  send(R"({"op":"write","id":2,"table":"InLif1","unit":0,"key":2})");
  send(R"({"op":"write","id":3,"table":"InLif0","unit":0,"key":3})");
  EXPECT_EQ(nextEnded(1), (Ended{{3, "done"}})) << "a waiting head holds back its own table alone";
  Json const head = ask(R"("op":"status")")["resolver"]["heads"][0];
  EXPECT_EQ(head["table"], "InLif1");
  EXPECT_EQ(head["queued"], 2);
  EXPECT_EQ(head["for"], "resource or room");

  // An id that is under way cannot be used again; its state can be read as it will be.
  Json answer;
  Json const again = Json::parse(R"({"op":"remove","id":1,"table":"InLif1","unit":0,"key":1})");
  EXPECT_THAT(client_.ask(again, answer).message(), HasSubstr("still under way"));
  EXPECT_EQ(ask(R"("op":"has","table":"InLif1","unit":0,"key":1)")["has"], true);

  // With a value of its own, and only after version 1 of InLif0, which is in the hardware already.
  send("{\"id\":0," + steer + R"(,"state":"done","value":77,"needed":{"table":"InLif0","version":1}})");
  EXPECT_EQ(nextEnded(2), (Ended{{1, "done"}, {2, "done"}}));
  Json const entry = ask(R"("op":"read","table":"InLif1","unit":0,"key":1)")["entry"];
  EXPECT_EQ(entry["resolved"]["vlanEditProfile"], 77);

  // A full table fails what asks it for more.
  ask(R"("op":"resource","resource":"qosProfileKey","capacity":0)");
  send(R"({"op":"write","id":4,"table":"InLif1","unit":0,"key":4,"qosProfileKey":{"intf":"Ethernet1"}})");
  EXPECT_EQ(nextEnded(1), (Ended{{4, "failed"}}));
  EXPECT_EQ(ask(R"("op":"quit")")["leaks"], 0);
}

}  // namespace
