// The entries of a store as lines, and from lines into another one: through its agent, and without one.
#include "Programs.h"

namespace {

using namespace Inlif;

constexpr char const* kUnits = R"({"op":"unit","table":"InLif0","unit":0}
{"op":"unit","table":"InLif1","unit":5}
)";
// Every resource key, keys in an order that is not that of numbers, and bytes of the client's.
std::string const kDump =
    kUnits +
    std::string(R"({"op":"write","table":"InLif1","unit":5,"key":2})"
                "\n") +
    R"({"op":"write","table":"InLif1","unit":5,"key":10,"inLifDataKey":{"intf":"Ethernet1.100"},)"
    R"("inLifDataVlanKey":{"intf":"Vlan100"},"srv6EndpointCounterRequestKey":{"object":7},)"
    R"("l2CounterRequestKey":{"object":8,"engine":2},"l3CounterRequestKey":{"object":9},)"
    R"("learnEnableKey":{"intf":"Ethernet1"},"learnEnableVlanKey":{"intf":"Vlan100","kind":"vlan"},)"
    R"("vlanEditProfileKey":{"customer":{"action":"edit","tagsRemoved":1}},"qosProfileKey":{"intf":"Ethernet1"},)"
    R"("l2AdjId":4,"client":"01)" +
    std::string(94, '0') +
    R"(ff"})"
    "\n"
    R"({"op":"unit","table":"InLif23","unit":7})"
    "\n"
    R"({"op":"write","table":"InLif23","unit":7,"key":4294967295})"
    "\n";

class DumpTest : public ProgramsTest {
 protected:
  std::string other() const { return store_.directory() + "/.other"; }
  std::string run(std::vector<std::string> arguments, int expectedStatus = 0) {
    Program program = start(std::move(arguments));
    EXPECT_EQ(program.join(), expectedStatus);
    return program.out() + program.err();
  }
};

TEST_F(DumpTest, whatIsDumpedAndLoadedIsDumpedAgain) {
  Program writer = startWriter();
  agentStarts();
  EXPECT_EQ(said({"load", file("dump", kDump)}),
            store_.directory() + "/.dump: 3 units, 3 entries, 0 failed\n");
  EXPECT_EQ(said({"dump"}), kDump);
  EXPECT_THAT(said({"show", "image", "--table", "InLif23"}), HasSubstr("  4294967295  "));
  EXPECT_EQ(said({"dump", "--table", "InLif1", "--unit", "5"}) + "x",
            kDump.substr(kDump.find('\n') + 1,
                         kDump.find("{\"op\":\"unit\",\"table\":\"InLif23\"") - kDump.find('\n') - 1) +
                "x");
  // The file may have come from an agent's input, through a pipe; without an agent it is the log that holds it.
  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  std::string text = kDump;
  text.insert(1, R"("id":"a",)");
  ASSERT_EQ(write(pipes[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(pipes[1]);
  Program load(store_.directory(), {"load", "-", "--store", other(), "--json"}, pipes[0]);
  EXPECT_EQ(load.join(), 0) << load.err();
  close(pipes[0]);
  EXPECT_EQ(
      Json::parse(load.out()),
      (Json{{"file", "standard input"}, {"unitCount", 3}, {"entries", 3}, {"failed", 0}, {"onTheirWay", 3}}));
  EXPECT_EQ(run({"dump", "--store", other()}), kDump);
  EXPECT_THAT(run({"check", "--store", other()}), HasSubstr("nothing found"));
  // Who served it before says what stays; a load does not know.
  EXPECT_THAT(run({"load", file("dump", kDump), "--store", other()}, kNoAnswer),
              HasSubstr("holds 3 entries"));
}

TEST_F(DumpTest, whatDoesNotGetInIsToldByItsLine) {
  agentStarts();
  ask(R"("op":"resource","resource":"qosProfileKey","capacity":1)");
  auto const writeOf = [](char const* table, int key) {
    return fmt::format(
        "{{\"op\":\"write\",\"table\":\"{}\",\"unit\":0,\"key\":{},\"qosProfileKey\":{{\"intf\":"
        "\"Ethernet{}\"}}}}\n",
        table, key, key);
  };
  // A line that is wrong keeps all others back; an empty one counts.
  std::string const wrong = file("wrong", kUnits + writeOf("InLif0", 1) + "\n{\"op\":\"quit\"}\n" +
                                              R"({"op":"write","table":"InLif0","unit":0,"key":1,"qos":2})");
  EXPECT_THAT(said({"load", wrong}, kRefused),
              AllOf(HasSubstr(wrong + ":5: load: 'op' is \"quit\"; expected unit or write"),
                    HasSubstr(wrong + ":6: load: \"qos\" is no member here"), HasSubstr("2 wrong lines")));
  EXPECT_THAT(said({"dump"}), Not(HasSubstr("unit")));
  // The agent refuses one, and for another it has no resource. No writer runs.
  std::string const some =
      file("some", kUnits + writeOf("InLif0", 1) + writeOf("InLif0", 2) + writeOf("InLif23", 1));
  EXPECT_THAT(said({"load", some}, kFound), AllOf(HasSubstr(some + ":4: failed: a resource"),
                                                  HasSubstr(some + ":5: write: InLif23 has no unit 0"),
                                                  HasSubstr("2 units, 2 entries, 2 failed; 1 on their way")));
  // No answer is told as by every command that asks.
  EXPECT_THAT(said({"load", "/nowhere"}, kRefused), HasSubstr("/nowhere: cannot be opened"));
}

TEST_F(DumpTest, progressIsShownOnATerminalAndNowhereElse) {
  agentStarts();
  std::string many = kUnits;
  int const count = kSanitized ? 4'000 : 30'000;
  for (int key = 0; key < count; ++key)
    many += fmt::format("{{\"op\":\"write\",\"table\":\"InLif0\",\"unit\":0,\"key\":{}}}\n", key);
  std::string const shown =
      onTerminal({"load", file("many", many), "--store", store_.directory()}, STDERR_FILENO);
  EXPECT_THAT(shown, testing::ContainsRegex(
                         fmt::format("\r.*load: [0-9]+ of {} lines, [0-9]+ %, [0-9]+ s", count + 2)));
  EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << "the line is gone at the end";
  // Of what the agent does, the time alone is known.
  agent_->kill(SIGSTOP);
  std::thread later([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    agent_->kill(SIGCONT);
  });
  std::string const config = file("config.json", R"({"PORT":{"Ethernet0":{}}})");
  EXPECT_THAT(onTerminal({"config", config, "--store", store_.directory()}, STDERR_FILENO),
              testing::ContainsRegex("config: the agent reads " + config + ", 1 s\r"));
  later.join();
  Program quiet = start({"dump", "--store", store_.directory()});
  EXPECT_EQ(quiet.join(), 0);
  EXPECT_EQ(quiet.err(), "");
}

}  // namespace
