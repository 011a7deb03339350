// Agent and writer as neighbours: started at the same moment, and what the commands say of the one that is not there,
// stands still or has told errors.
#include <sys/mount.h>

#include "Programs.h"
#include "support/OwnFileSystem.h"

namespace {

using namespace Inlif;
using namespace std::chrono_literals;
using VexSharedMem::StoreRoot;

class LivenessTest : public ProgramsTest {
 protected:
  static bool runs(StoreRoot::Role role) { return StoreRoot::holder(role).alive; }
};

// Half of the stores are missing, the others are directories that somebody made by hand, open to others.
TEST_F(LivenessTest, agentAndWriterMayStartAtTheSameMomentOnNoStore) {
  for (int i = 0; i < (kSanitized ? 12 : 60); ++i) {
    std::string const store = store_.directory() + "/at-once" + std::to_string(i);
    StoreRoot::rootIs(store);
    if (i / 2 % 2 == 1) {
      std::filesystem::create_directory(store);
      std::filesystem::permissions(store, std::filesystem::perms(0755));
    }
    Program first = start({i % 2 == 0 ? "agent" : "writer", "--store", store});
    Program second = start({i % 2 == 0 ? "writer" : "agent", "--store", store});
    auto const bothRun = [] { return runs(StoreRoot::Role::agent) && runs(StoreRoot::Role::writer); };
    eventually([&] { return bothRun() || !first.err().empty() || !second.err().empty(); });
    EXPECT_TRUE(bothRun()) << first.err() << second.err();
  }
}

// Half of the commands find room in the queue of the socket, the others do not. All give up after the same time.
TEST_F(LivenessTest, everyCommandGivesUpAnAgentThatStandsStill) {
  agentStarts();
  makeUnit("InLif1", 0);
  agent_->kill(SIGSTOP);
  auto const since = std::chrono::steady_clock::now();
  auto const asking = [&](std::vector<std::string> command) {
    command.insert(command.end(), {"--store", store_.directory()});
    return start(command);
  };
  Program connected[] = {asking({"inspect", "/"}), asking({"why"}), asking({"show", "status"})};
  std::this_thread::sleep_for(500ms);
  for (int taken = 0; Listener::connect(socketPath(store_.directory()), taken, 0ms).isOk();) {
  }
  Program waiting[] = {asking({"show", "latency"}), asking({"why", "InLif1"})};
  auto const expectGivenUp = [&](Program& program) {
    EXPECT_EQ(program.join(), kNoAnswer);
    EXPECT_LT(std::chrono::steady_clock::now() - since, 15s);
    std::string const line = program.err();
    EXPECT_THAT(line, HasSubstr("agent running, process " + std::to_string(agent_->pid()) + " since"));
    EXPECT_THAT(line, HasSubstr("it stands still: its last sign of life is"));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
  };
  std::ranges::for_each(connected, expectGivenUp);
  std::ranges::for_each(waiting, expectGivenUp);
  EXPECT_THAT(connected[2].out(), HasSubstr("\nInLif1     0        0\n"))
      << "what the store tells is told all the same";
}

// A played agent says a line each 60 ms, five times, and then answers.
TEST_F(LivenessTest, aLongAnswerThatKeepsComingGoesOn) {
  Listener listener;
  ASSERT_TRUE(listener.open(socketPath(store_.directory())).isOk());
  std::thread agent([&] {
    int connection = -1;
    while ((connection = listener.accept()) < 0) std::this_thread::sleep_for(1ms);
    for (char const* line : {"1", "2", "3", "4", "5", R"(5,"ok":true)", "6"}) {
      std::this_thread::sleep_for(60ms);
      std::string const text = R"({"id":7,"line":)" + std::string(line) + "}\n";
      EXPECT_EQ(::write(connection, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    std::this_thread::sleep_for(400ms);
    ::close(connection);
  });
  connect(client_);
  Json answer;
  int lines = 0;
  auto const count = [&](Json const&) { ++lines; };
  EXPECT_TRUE(client_.ask({{"op", "walk"}, {"id", 7}}, answer, 200ms, count).isOk());
  EXPECT_EQ(lines, 5);
  EXPECT_EQ(client_.ask({{"op", "walk"}, {"id", 8}}, answer, 200ms, count).message(),
            "the agent has said nothing to \"walk\" for 0.2 s");
  agent.join();
}

TEST_F(LivenessTest, aDeadWriterIsNamedAndHoldsNothingBack) {
  std::optional<Program> writer;
  writer.emplace(store_.directory(), std::vector<std::string>{"writer", "--store", store_.directory()});
  ASSERT_TRUE(eventually([] { return runs(StoreRoot::Role::writer); }));
  std::string const pid = std::to_string(writer->pid());
  agentStarts();
  makeUnit("InLif0", 0), makeUnit("InLif1", 0);
  EXPECT_TRUE(ask(R"("op":"status")")["writer"]["alive"]);
  writer.reset();
  send(R"({"op":"write","id":"n","table":"InLif0","unit":0,"key":1})");
  for (char const* key : {"0", "1", "2"})
    ask("write", "InLif1", 0, R"(,"after":"n","key":)" + std::string(key));
  count("InLif1", 0);
  Json const status = ask(R"("op":"status")");
  EXPECT_EQ(status["agent"]["pid"], agent_->pid());
  EXPECT_EQ(status["writer"]["alive"], false);
  EXPECT_EQ(status["writer"]["pid"].dump(), pid);
  EXPECT_EQ(status["tables"][1]["behind"], 3);
  std::string const dead = "not running; the last one was process " + pid + ", from 20";
  EXPECT_THAT(said({"why"}),
              AllOf(HasSubstr("0 operations wait\nwriter of the hardware " + dead),
                    HasSubstr("InLif1: 3 versions are announced and not reported, the oldest for "),
                    Not(HasSubstr("held back"))));
  EXPECT_THAT(
      said({"show", "status"}),
      AllOf(HasSubstr("agent running, process " + std::to_string(agent_->pid())), HasSubstr("writer " + dead),
            HasSubstr("InLif1: 3 versions are announced and not reported, the oldest for ")));
  agent_.reset();
  std::string const offline = said({"why"}, kNoAnswer);
  EXPECT_THAT(offline, AllOf(HasSubstr("writer of the hardware " + dead),
                             HasSubstr("InLif1: 3 versions are announced and not reported\n"),
                             HasSubstr("agent not running; the last one was process")));
}

// As many writes fail, each with a line of its own at level 1: they are folded, and counted one by one. On a file system
// that is full both processes tell errors, and few lines.
TEST_F(LivenessTest, errorsAreFoldedAndCountedAlsoOnAFullFileSystem) {
  constexpr int kFailing = 500;
  std::string const small = store_.directory() + "/small";
  std::filesystem::create_directory(small);
  if (!TestSupport::ownFileSystem(small, "size=3m")) GTEST_SKIP() << "no right to mount";
  {
    StoreRoot::rootIs(small);
    Program writer = start({"writer", "--store", small});
    ASSERT_TRUE(eventually([] { return runs(StoreRoot::Role::writer); }));
    Program agent = start({"agent", "--store", small});
    ASSERT_TRUE(eventually([&] { return client_.connect(socketPath(small)).isOk(); }));
    makeUnit("InLif1", 0);
    ask(R"("op":"resource","resource":"qosProfileKey","defaultState":"failed")");
    for (int key = 0; key < kFailing; ++key)
      ask("write", "InLif1", 0, fmt::format(R"(,"qosProfileKey":{{"intf":"Ethernet1"}},"key":{})", key));
    for (int key = 0; key < 6000; ++key)
      client_.send({{"op", "write"}, {"id", key}, {"table", "InLif1"}, {"unit", 0}, {"key", key}});
    count("InLif1", 0);
    std::this_thread::sleep_for(3s);
    Json told = nullptr;
    Json const errors = ask(R"("op":"errors")")["errors"];
    for (Json const& error : errors) {
      if (error["text"].get<std::string>().starts_with("Failed to commit entry key")) told = error;
    }
    ASSERT_TRUE(told.is_object()) << errors.dump(1);
    EXPECT_GE(told["count"], kFailing);
    EXPECT_LT(told["since"], told["last"]);
    Program shown = start({"show", "errors", "--store", small, "--json"});
    EXPECT_EQ(shown.join(), 0) << shown.err();
    EXPECT_THAT(shown.out(),
                AllOf(HasSubstr(R"("process":"agent")"), HasSubstr("Failed to commit entry key")));
    agent.kill(SIGTERM);
    EXPECT_EQ(agent.join(), 0);
    std::string const lines = agent.err();
    EXPECT_LT(std::count(lines.begin(), lines.end(), '\n'), 200);
    EXPECT_THAT(lines, testing::ContainsRegex(
                           "\n20[0-9-]+T[0-9:]+\\.[0-9]{3}Z 1 InLif1SwTable .*: \\.\\.\\. and [0-9]+ "
                           "times more within 10 s, at last: Failed to commit entry key: "));
  }
  ::umount2(small.c_str(), MNT_DETACH);
}

}  // namespace
