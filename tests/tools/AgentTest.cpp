// The command itself, as processes: the protocol of the agent, the road of a write through two processes,
// refusals that change nothing, a configuration that is read again, and command lines that are wrong.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <set>

#include "Programs.h"

namespace {

using namespace Inlif;
using testing::Contains;
using testing::HasSubstr;

class AgentTest : public ProgramsTest {};

TEST_F(AgentTest, aFileOfOperationsIsDoneLineByLine) {
  Program writer = startWriter();
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
  writer.kill(SIGTERM);
  EXPECT_EQ(writer.join(), 0) << writer.err();
}

TEST_F(AgentTest, eventsReadsAndWalksOverTheSocket) {
  Program writer = startWriter();
  Program agent = start({"agent", "--store", store_.directory()});
  AgentClient client;
  connect(client);
  asked(client, {{"op", "unit"}, {"id", "u"}, {"table", "InLif0"}, {"unit", 0}});
  asked(client, {{"op", "unit"}, {"id", "v"}, {"table", "InLif23"}, {"unit", 7}});
  Json const failing = {{"intf", "Ethernet9"}};
  asked(client, {{"op", "resource"},
                 {"id", "r"},
                 {"resource", "qosProfileKey"},
                 {"key", failing},
                 {"state", "failed"}});
  client.send({{"op", "write"},
               {"id", 1},
               {"table", "InLif0"},
               {"unit", 0},
               {"key", 5},
               {"inLifDataKey", {{"intf", "Ethernet1"}}}});
  client.send({{"op", "write"}, {"id", 2}, {"table", "InLif23"}, {"unit", 7}, {"key", 6}, {"after", 1}});
  client.send(
      {{"op", "write"}, {"id", 3}, {"table", "InLif0"}, {"unit", 0}, {"key", 7}, {"qosProfileKey", failing}});
  client.send({{"op", "write"}, {"id", 4}, {"table", "InLif23"}, {"unit", 7}, {"key", 8}, {"after", 3}});
  std::map<int, std::string> ended;
  Json message;
  while (ended.size() < 4 && client.receive(message, 20000)) {
    if (message.contains("id") && message.contains("event"))
      ended[message["id"].get<int>()] = message["event"];
  }
  EXPECT_EQ(ended, (std::map<int, std::string>{{1, "done"}, {2, "done"}, {3, "failed"}, {4, "failed"}}));
  asked(client, {{"op", "wait"}, {"id", "w"}});
  Json const entry =
      asked(client, {{"op", "read"}, {"id", "e"}, {"table", "InLif0"}, {"unit", 0}, {"key", 5}})["entry"];
  EXPECT_EQ(entry["inLifDataKey"]["intf"], "Ethernet1");
  EXPECT_NE(entry["resolved"]["inLifData"], 0) << "the resource gave a value";
  EXPECT_TRUE(
      asked(client, {{"op", "read"}, {"id", "n"}, {"table", "InLif0"}, {"unit", 0}, {"key", 7}})["entry"]
          .is_null());
  EXPECT_EQ(asked(client, {{"op", "walk"}, {"id", "k"}, {"table", "InLif23"}, {"unit", 7}})["count"], 1);

  // A changed resource reaches the entries that use it, in the hardware too.
  asked(client, {{"op", "resource"},
                 {"id", "x"},
                 {"resource", "inLifDataKey"},
                 {"key", {{"intf", "Ethernet1"}}},
                 {"value", 77}});
  asked(client, {{"op", "wait"}, {"id", "w2"}});

  // `show` looks on while both run.
  Program show = start({"show", "image", "--store", store_.directory(), "--json", "--table", "InLif0"});
  EXPECT_EQ(show.join(), 0);
  EXPECT_EQ(Json::parse(show.out())["resolved"]["inLifData"], 77) << show.out();

  EXPECT_EQ(asked(client, {{"op", "quit"}, {"id", "q"}})["leaks"], 0);
  EXPECT_EQ(agent.join(), 0) << agent.err();
}

TEST_F(AgentTest, withoutAWriterAWaitTellsWhatIsPendingAndShowWhatIsHeldBack) {
  auto const lines = agent(R"({"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"unit","id":2,"table":"InLif1","unit":3}
{"op":"write","id":3,"table":"InLif0","unit":0,"key":5}
{"op":"write","id":4,"table":"InLif1","unit":3,"key":9,"after":3}
{"op":"wait","id":5,"timeoutMs":1500}
{"op":"quit","id":6}
)");
  ASSERT_EQ(ofId(lines, 5).size(), 1u);
  EXPECT_THAT(ofId(lines, 5)[0]["error"], HasSubstr("InLif1 unit 3: 0 queued, 1 in the log"));
  Program show = start({"show", "status", "--store", store_.directory()});
  EXPECT_EQ(show.join(), 0) << show.err();
  EXPECT_THAT(show.out(),
              HasSubstr("InLif1 version 1 (unit 3, key 9) is held back: it waits for InLif0 version 1"));
  // The writer starts after the agent has gone, and takes both.
  Program writer = startWriter();
  std::string status;
  for (int i = 0; i < 500; ++i) {
    Program again = start({"show", "status", "--store", store_.directory(), "--json", "--table", "InLif1"});
    again.join();
    status = again.out();
    if (Json::parse(status)["reported"] == 1) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_EQ(Json::parse(status)["imageEntries"], 1) << status;
}

TEST_F(AgentTest, whatIsWrongIsRefusedAndChangesNothing) {
  struct Case {
    char const* operation;
    char const* value;
    char const* expectation;
  };
  std::vector<Case> const cases{
      {R"(not json)", "not JSON", "one JSON object"},
      {R"([])", "[]", "one JSON object"},
      {R"({"id":1})", "'op' is missing", "text"},
      {R"({"op":"write"})", "'id' is missing", "text or number"},
      {R"({"op":"write","id":{}})", "{}", "text or a number"},
      {R"({"op":"wriet","id":1})", "wriet", "removeAll"},
      {R"({"op":"write","id":1,"table":"InLif2","unit":0,"key":1})", "InLif2", "InLif23"},
      {R"({"op":"write","id":1,"table":"InLif0","unit":1,"key":1})", "no unit 1", "unit has made"},
      {R"({"op":"write","id":1,"table":"InLif0","unit":0})", "'key' is missing", "0 to 4294967295"},
      {R"({"op":"write","id":1,"table":"InLif0","unit":0,"key":1,"after":99})", "99", "earlier write"},
      {R"({"op":"write","id":1,"table":"InLif0","unit":0,"key":1,"qosProfile":{"intf":"Ethernet1"}})",
       "qosProfile", "qosProfileKey"},
      {R"({"op":"write","id":1,"table":"InLif0","unit":0,"key":1,"qosProfileKey":{"intf":"Ether"}})", "Ether",
       "qosProfileKey"},
      {R"({"op":"unit","id":1,"table":"InLif0","unit":65535})", "65535", "0 to 65534"},
      {R"({"op":"unit","id":1,"table":"InLif0","unit":0,"reset":"yes"})", "yes", "true or false"},
      {R"({"op":"remove","id":1,"table":"InLif0","unit":0,"key":1,"limit":3})", "limit", "after"},
      {R"({"op":"walk","id":1,"table":"InLif0","unit":0,"limit":0})", "0", "from 1"},
      {R"({"op":"resource","id":1,"resource":"qos"})", "qos", "qosProfileKey"},
      {R"({"op":"resource","id":1,"resource":"qosProfileKey","state":"done"})", "'key' is missing",
       "key of the resource"},
      {R"({"op":"resource","id":1,"resource":"qosProfileKey","key":{},"state":"done"})", "{}", "null key"},
      {R"({"op":"resource","id":1,"resource":"qosProfileKey","key":{"intf":"Ethernet1"},"state":"ready"})",
       "ready", "resolveFailed"},
      {R"({"op":"resource","id":1,"resource":"qosProfileKey","key":{"intf":"Ethernet1"},"value":256})", "256",
       ""},
      {R"({"op":"wait","id":1,"timeoutMs":-1})", "-1", "0 to"},
      {R"({"op":"config","id":1})", "'file' is missing", "--config"},
      {R"({"op":"config","id":1,"file":"/nowhere"})", "/nowhere", "configuration"},
  };
  std::string operations =
      "{\"op\":\"unit\",\"id\":0,\"table\":\"InLif0\",\"unit\":0}\n{\"op\":\"status\",\"id\":\"before\"}\n";
  for (Case const& wrong : cases) operations += std::string(wrong.operation) + "\n";
  operations +=
      std::string((std::size_t{1} << 20) + 2, ' ') + "\n" + std::string((std::size_t{1} << 21), 'x') + "\n";
  operations += "{\"op\":\"status\",\"id\":\"after\"}\n{\"op\":\"quit\",\"id\":\"q\"}\n";
  auto const lines = agent(operations);
  std::vector<std::string> errors;
  for (Json const& line : lines) {
    if (line.contains("error")) errors.push_back(line["error"]);
  }
  ASSERT_EQ(errors.size(), cases.size() + 2);
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_THAT(errors[i], HasSubstr(cases[i].value)) << cases[i].operation;
    EXPECT_THAT(errors[i], HasSubstr(cases[i].expectation)) << cases[i].operation;
    EXPECT_EQ(errors[i].find('\n'), std::string::npos);
  }
  EXPECT_THAT(errors.back(), HasSubstr("longer than 1 MiB"));
  EXPECT_EQ(ofId(lines, "before")[0]["tables"], ofId(lines, "after")[0]["tables"]);
}

TEST_F(AgentTest, aConfigurationIsReadAgainAndOnlyTheDifferenceWritten) {
  std::string const path =
      file("config.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},"VLAN_SUB_INTERFACE":{"Eth0.10":{}}})");
  Program writer = startWriter();
  Program agent = start({"agent", "--store", store_.directory(), "--config", path});
  AgentClient client;
  connect(client);
  asked(client, {{"op", "wait"}, {"id", "w"}});
  auto const counts = [&](Json const& answer) {
    return std::vector<int>{answer["written"].get<int>(), answer["removed"].get<int>(),
                            answer["unchanged"].get<int>()};
  };
  EXPECT_EQ(asked(client, {{"op", "count"}, {"id", "c"}, {"table", "InLif0"}, {"unit", 0}})["count"], 2);
  EXPECT_EQ(counts(asked(client, {{"op", "config"}, {"id", 1}})), (std::vector<int>{0, 0, 3}));

  file("config.json", R"({"PORT":{"Ethernet0":{"mtu":1500},"Ethernet8":{}}})");
  agent.kill(SIGHUP);
  Json event;
  while (client.receive(event, 20000) && (!event.contains("event") || event["event"] != "config")) {
  }
  EXPECT_EQ(counts(event), (std::vector<int>{2, 2, 0}));

  file("config.json", R"({"PORT":{"Ethernet0":{"mtu":1501},"Ethernet8":{"mtu":10}}})");
  Json answer;
  EXPECT_THAT(client.ask({{"op", "config"}, {"id", 2}}, answer).message(),
              HasSubstr("PORT \"Ethernet8\": 'mtu' is 10"));
  file("config.json", R"({"PORT":{"Ethernet0":{"mtu":1500},"Ethernet8":{}}})");
  EXPECT_EQ(counts(asked(client, {{"op", "config"}, {"id", 3}})), (std::vector<int>{0, 0, 2}))
      << "the broken file changed nothing";
  asked(client, {{"op", "quit"}, {"id", "q"}});
  EXPECT_EQ(agent.join(), 0) << agent.err();
}

TEST_F(AgentTest, steeredResourcesHoldOperationsBackAndLetThemGo) {
  Program writer = startWriter();
  Program agent = start({"agent", "--store", store_.directory()});
  AgentClient client;
  connect(client);
  for (char const* table : {"InLif0", "InLif1"})
    asked(client, {{"op", "unit"}, {"id", table}, {"table", table}, {"unit", 0}});
  Json const key = {{"customer", {{"action", "edit"}, {"removed", 1}}}};
  Json const steer = {{"op", "resource"}, {"id", "r"}, {"resource", "vlanEditProfileKey"}, {"key", key}};
  Json waiting = steer;
  waiting["state"] = "unresolved";
  EXPECT_EQ(asked(client, waiting)["state"], "unresolved");
  client.send({{"op", "write"},
               {"id", 1},
               {"table", "InLif1"},
               {"unit", 0},
               {"key", 1},
               {"vlanEditProfileKey", key}});
  client.send({{"op", "write"}, {"id", 2}, {"table", "InLif1"}, {"unit", 0}, {"key", 2}});
  client.send({{"op", "write"}, {"id", 3}, {"table", "InLif0"}, {"unit", 0}, {"key", 3}});
  Json message;
  do {
    ASSERT_TRUE(client.receive(message, 20000));
  } while (!message.contains("event") || message["event"] == "pending");
  EXPECT_EQ(message["id"], 3) << "a waiting head holds back its own table alone";
  Json const head = asked(client, {{"op", "status"}, {"id", "s"}})["resolver"]["heads"][0];
  EXPECT_EQ(head["table"], "InLif1");
  EXPECT_EQ(head["queued"], 2);
  EXPECT_EQ(head["waitsFor"], "resource or room");

  // An id that is under way cannot be used again; its state can be read as it will be.
  Json answer;
  EXPECT_THAT(client.ask({{"op", "remove"}, {"id", 1}, {"table", "InLif1"}, {"unit", 0}, {"key", 1}}, answer)
                  .message(),
              HasSubstr("still under way"));
  EXPECT_EQ(asked(client, {{"op", "has"}, {"id", "h"}, {"table", "InLif1"}, {"unit", 0}, {"key", 1}})["has"],
            true);

  // With a value of its own, and only after version 1 of InLif0, which is in the hardware already.
  Json done = steer;
  done.update({{"state", "done"}, {"value", 77}, {"needed", {{"table", "InLif0"}, {"version", 1}}}});
  client.send(done);
  std::set<int> ended;
  while (ended.size() < 2 && client.receive(message, 20000)) {
    if (message.contains("event") && message["event"] == "done") ended.insert(message["id"].get<int>());
  }
  EXPECT_EQ(ended, (std::set<int>{1, 2}));
  EXPECT_EQ(asked(client, {{"op", "read"},
                           {"id", "e"},
                           {"table", "InLif1"},
                           {"unit", 0},
                           {"key", 1}})["entry"]["resolved"]["vlanEditProfile"],
            77);

  // A full table fails what asks it for more.
  asked(client, {{"op", "resource"}, {"id", "c"}, {"resource", "qosProfileKey"}, {"capacity", 0}});
  client.send({{"op", "write"},
               {"id", 4},
               {"table", "InLif1"},
               {"unit", 0},
               {"key", 4},
               {"qosProfileKey", {{"intf", "Ethernet1"}}}});
  do {
    ASSERT_TRUE(client.receive(message, 20000));
  } while (!message.contains("event") || message["event"] == "pending");
  EXPECT_EQ(message["event"], "failed");
  EXPECT_EQ(asked(client, {{"op", "quit"}, {"id", "q"}})["leaks"], 0);
}

TEST_F(AgentTest, channelsKeepTheirIdsApartAndAGoneOneDisturbsNobody) {
  Program writer = startWriter();
  Program agent = start({"agent", "--store", store_.directory()});
  AgentClient one;
  connect(one);
  asked(one, {{"op", "unit"}, {"id", 1}, {"table", "InLif0"}, {"unit", 0}});
  {
    AgentClient other;
    connect(other);
    asked(other, {{"op", "write"}, {"id", 5}, {"table", "InLif0"}, {"unit", 0}, {"key", 1}});
    asked(one, {{"op", "write"}, {"id", 5}, {"table", "InLif0"}, {"unit", 0}, {"key", 2}});
    Json answer;
    EXPECT_THAT(
        one.ask({{"op", "remove"}, {"id", 6}, {"table", "InLif0"}, {"unit", 0}, {"key", 2}, {"after", 99}},
                answer)
            .message(),
        HasSubstr("99"));
    other.send({{"op", "walk"}, {"id", 7}, {"table", "InLif0"}, {"unit", 0}});
    other.send({{"op", "write"}, {"id", 8}, {"table", "InLif0"}, {"unit", 0}, {"key", 3}});
    Json ignored;
    other.receive(ignored, 0);
  }  // leaves without waiting for its answers
  for (int i = 0;
       i < 500 && asked(one, {{"op", "count"}, {"id", 9}, {"table", "InLif0"}, {"unit", 0}})["count"] != 3;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(asked(one, {{"op", "count"}, {"id", 9}, {"table", "InLif0"}, {"unit", 0}})["count"], 3)
      << "what it said is done";
  EXPECT_EQ(asked(one, {{"op", "walk"}, {"id", 10}, {"table", "InLif0"}, {"unit", 0}, {"limit", 2}})["count"],
            2);
  EXPECT_EQ(asked(one, {{"op", "quit"}, {"id", "q"}})["leaks"], 0);
}

TEST_F(AgentTest, aLossIsToldAndAClearedUnitIsEmpty) {
  Program writer = startWriter();
  std::string const unit = R"({"op":"unit","id":1,"table":"InLif1","unit":4})";
  std::string const write = R"({"op":"write","id":2,"table":"InLif1","unit":4,"key":5})";
  std::string const end = "{\"op\":\"wait\",\"id\":3}\n{\"op\":\"quit\",\"id\":4}\n";
  agent(unit + "\n" + write + "\n" + end);
  EXPECT_EQ(ofId(agent(unit + "\n" + end), 1)[0]["entries"], 1) << "what was committed outlives the agent";
  ASSERT_EQ(std::remove(store_.fileOf(tables()[1].configPath(4)).c_str()), 0);
  auto const lines = agent(unit + "\n" + end);
  EXPECT_EQ(ofId(lines, 1)[0]["entries"], 0);
  EXPECT_THAT(lines, Contains(Json{{"event", "wiped"}, {"table", "InLif1"}, {"what", "unit 4"}}));
  agent(unit + "\n" + write + "\n" + end);
  std::string const reset = R"({"op":"unit","id":1,"table":"InLif1","unit":4,"reset":true})";
  EXPECT_EQ(ofId(agent(reset + "\n" + end), 1)[0]["entries"], 0);
}

TEST_F(AgentTest, aWrongCommandLineIsOneLineAndAStatus) {
  std::string const directory = store_.directory();
  std::filesystem::create_directory_symlink(directory, directory + "/link");
  struct Case {
    std::vector<std::string> arguments;
    int status;
    char const* text;
  };
  for (Case const& wrong : {
           Case{{}, 2, "expected one of agent, writer, show"},
           Case{{"agnet"}, 2, "agnet"},
           Case{{"agent"}, 2, "--store"},
           Case{{"agent", "--store", directory, "--trace", "InLif1"}, 1, "FACILITY/LEVEL"},
           Case{{"agent", "--store", directory, "--input", "/nowhere"}, 1, "/nowhere"},
           Case{{"agent", "--store", directory, "--config", "/nowhere"}, 1, "/nowhere"},
           Case{{"agent", "--store", "/proc/nowhere/store"}, 1, "/proc/nowhere/store"},
           Case{{"agent", "--store", directory + "/link"}, 1, "is a symbolic link"},
           Case{{"writer", "--store", directory, "--rate", "fast"}, 1, "fast"},
           Case{{"show", "logs", "--store", directory}, 1, "config, log, status, image or latency"},
           Case{{"show", "log", "--store", directory, "--unit", "x"}, 1, "--unit x"},
           Case{{"show", "log", "--store", "/nowhere"}, 1, "/nowhere"},
           Case{{"demo", "--entries", "3"}, 1, "--entries 3"},
           Case{{"torture", "--cycles", "0"}, 1, "--cycles 0"},
       }) {
    Program program = start(wrong.arguments);
    EXPECT_EQ(program.join(), wrong.status);
    std::string const said = program.err();
    EXPECT_THAT(said, HasSubstr(wrong.text));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  }
}

TEST_F(AgentTest, aStoreInUseIsRefused) {
  Program writer = startWriter();
  Program agent = start({"agent", "--store", store_.directory()});
  AgentClient client;
  connect(client);
  EXPECT_EQ(std::filesystem::status(socketPath(store_.directory())).permissions(),
            std::filesystem::perms(0600));
  for (char const* command : {"agent", "writer"}) {
    Program second = start({command, "--store", store_.directory()});
    EXPECT_EQ(second.join(), 1);
    EXPECT_THAT(second.err(), HasSubstr(store_.directory()));
  }
  // The first ones are not disturbed.
  asked(client, {{"op", "unit"}, {"id", 1}, {"table", "InLif1"}, {"unit", 0}});
  EXPECT_EQ(asked(client, {{"op", "quit"}, {"id", 2}})["leaks"], 0);
}

// A full file system behind the standard error output, or none: traces are lost, the agent and its store are not.
TEST_F(AgentTest, whatCannotBeToldStopsNobody) {
  ::umask(0077);  // the operations lie in the store
  std::string const operations = file("operations", R"({"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"write","id":2,"table":"InLif0","unit":0,"key":6}
{"op":"quit","id":3})");
  std::string const store = " --store " + store_.directory();
  std::string const command = INLIF_PROGRAM " agent" + store + " --trace '*/8' --input " + operations;
  for (char const* lost : {" >/dev/null 2>/dev/full", " 2>&- >&-", " <&- 2>&- >/dev/null"})
    EXPECT_EQ(std::system((command + lost).c_str()), 0) << lost;
  EXPECT_EQ(std::system((INLIF_PROGRAM " check" + store + " >/dev/null").c_str()), 0);
}

}  // namespace
