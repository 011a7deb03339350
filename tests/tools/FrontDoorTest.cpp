// The agent's front door: its channels at their limits, as processes. Whoever takes nothing, asks for too much or goes
// away keeps nobody waiting, and what it asked for is done all the same.
#include <sys/resource.h>
#include <sys/stat.h>

#include "Connection.h"
#include "HostileTexts.h"
#include "Programs.h"
#include "support/Processes.h"

namespace {

using namespace Inlif;
using namespace std::chrono_literals;
using ToolsTest::Connection;
using ToolsTest::repeated;
using Clock = std::chrono::steady_clock;

// Under a sanitizer the limits take minutes to reach, and the memory is the sanitizer's own: HostileTest attacks there.
class FrontDoorTest : public ProgramsTest {
 protected:
  std::string socket() const { return socketPath(store_.directory()); }
  std::size_t memory() const { return ownMemory(agent_->pid()); }
  std::uint64_t nanosecondsRun() const {
    return std::stoull(contentsOf("/proc/" + std::to_string(agent_->pid()) + "/schedstat"));
  }
  // Says it all and takes what comes meanwhile and afterwards, until so many lines have come that hold `what`.
  static void talk(Connection const& peer, std::string_view& text, std::size_t lines, std::string_view what) {
    std::size_t heard = 0;
    std::string line;
    for (auto end = Clock::now() + 20s; heard < lines && Clock::now() < end;) {
      text = peer.say(text, 0ms);
      std::string const got = peer.hear();
      if (!got.empty()) end = Clock::now() + 20s;
      for (char const byte : got) {
        line += byte;
        if (byte != '\n') continue;
        heard += line.find(what) != std::string::npos;
        line.clear();
      }
    }
    EXPECT_EQ(heard, lines);
  }
};

std::string const kStatus = "{\"op\":\"status\",\"id\":1}\n";

// Whoever takes no answers is not heard any more; once it takes them, each of its operations is answered.
TEST_F(FrontDoorTest, whoTakesNothingIsNotReadUntilItDoes) {
  if (kSanitized) GTEST_SKIP() << "limits are reached without a sanitizer";
  agentStarts();
  makeUnit("InLif1", 0);
  std::size_t const before = memory();
  constexpr std::size_t kLines = 70'000;
  std::string const text = repeated(kStatus, kLines);
  Connection peer(socket());
  std::string_view rest = peer.say(text, 500ms);
  EXPECT_FALSE(rest.empty()) << "the agent reads on";
  EXPECT_LT(memory(), before + 8 * kMiB);
  EXPECT_EQ(count("InLif1", 0), 0);
  talk(peer, rest, kLines, "\"ok\":true");

  // One that goes has its writes done, and nobody works for its answers.
  Connection gone(socket());
  EXPECT_FALSE(gone.say(text, 500ms).empty());
  gone.end();
  Connection last(socket());
  last.say(R"({"op":"write","id":1,"table":"InLif1","unit":0,"key":5})"
           "\n");
  last.end();
  EXPECT_TRUE(
      eventually([&] { return ask(R"("op":"has","table":"InLif1","unit":0,"key":5)")["has"] == true; }));
  EXPECT_TRUE(eventually([&] { return memory() < before + 2 * kMiB; })) << "what it left is held";
}

// Operations wait for a resource, more than may be under way: those beyond wait in front of the door. None fails.
TEST_F(FrontDoorTest, moreOperationsThanMayBeUnderWayWait) {
  if (kSanitized) GTEST_SKIP() << "limits are reached without a sanitizer";
  Program writer = startWriter();
  agentStarts();
  makeUnit("InLif1", 0), makeUnit("InLif1", 1);
  std::string const steer =
      R"("op":"resource","resource":"qosProfileKey","key":{"intf":"Ethernet1"},"state":)";
  ask(steer + R"("unresolved")");
  std::string writes;
  constexpr std::size_t kWrites = 70'000;
  for (std::size_t i = 0; i < kWrites; ++i)
    writes += fmt::format(
        R"({{"op":"write","id":{0},"table":"InLif1","unit":{1},"key":{0},"qosProfileKey":{{"intf":"Ethernet1"}}}})"
        "\n",
        i, i % 2);
  Connection peer(socket());
  std::string_view rest = writes;
  talk(peer, rest, Pools().underWay.ofOne(), "\"ok\":true");
  EXPECT_EQ(ask(R"("op":"why")")["queued"], Pools().underWay.ofOne());
  ask(steer + R"("done")");
  talk(peer, rest, kWrites, "\"done\"");
}

// A full file system behind the standard error output, or none: traces are lost, the agent and its store are not.
TEST_F(FrontDoorTest, whatCannotBeToldStopsNobody) {
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

// Descriptors that are out, at whatever place, say nothing of the files: none is found damaged and moved aside.
TEST_F(FrontDoorTest, aShortageIsNoDamage) {
  agentStarts();
  makeUnit("InLif1", 5);
  agent_->kill(SIGTERM);
  EXPECT_EQ(agent_->join(), 0);
  std::string const check = "exec " INLIF_PROGRAM " check --repair --store " + store_.directory();
  for (int descriptors = 4; descriptors < 24; ++descriptors) {
    std::string const line = fmt::format("exec >/dev/null 2>&1; ulimit -n {}; {}", descriptors, check);
    int const status = WEXITSTATUS(std::system(line.c_str()));
    bool const isStarted = status != 127;  // its libraries were found
    EXPECT_TRUE(!isStarted || status == kRefused || status == 0) << descriptors << " descriptors: " << status;
  }
  EXPECT_EQ(WEXITSTATUS(std::system(check.c_str())), 0);
  // The agent would refuse to start over it.
  std::string const damage =
      fmt::format("umask 077; echo '[\"ports\", ' > {}/clients.json", store_.directory());
  EXPECT_EQ(std::system(damage.c_str()), 0);
  EXPECT_EQ(WEXITSTATUS(std::system(check.c_str())), 1);
}

// Whoever looks is told when it was not all, however much that was: half an answer must not pass for a whole one.
TEST_F(FrontDoorTest, whatIsNotPrintedIsNoSuccess) {
  agentStarts();
  makeUnit("InLif1", 5);
  int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  std::string const store = store_.directory();
  for (std::vector<std::string> const& arguments :
       std::vector<std::vector<std::string>>{{"--help"},
                                             {"--version"},
                                             {"types"},
                                             {"completion", "bash"},
                                             {"show", "status", "--store", store},
                                             {"metrics", "--store", store},
                                             {"dump", "--store", store},
                                             {"check", "--store", store, "--json"},
                                             {"top", "--once", "--store", store},
                                             {"log", "--follow", "--store", store}}) {
    Program one(store, arguments, -1, full);
    EXPECT_EQ(one.join(), kRefused) << arguments[0];
    EXPECT_EQ(one.err(), "inlif: standard output: what was printed is not whole: No space left on device\n")
        << arguments[0];
  }
  close(full);
  // A reader that has gone knows without a line, and the line of a refusal may be lost.
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  Program one(store, {"show", "status", "--store", store}, -1, ends[1]);
  EXPECT_EQ(one.join(), kRefused);
  EXPECT_EQ(one.err(), "");
  close(ends[1]);
  std::string const show = INLIF_PROGRAM " show status --store ";
  for (std::string const& line : {show + store + " 2>/dev/null >&-", show + "/nowhere 2>/dev/full"})
    EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), kRefused) << line;
}

// Nor does a pipe that nobody reads, however much there is to tell: others are served, and a signal ends the agent.
TEST_F(FrontDoorTest, whatNobodyReadsStopsNobody) {
  int input[2], output[2], errors[2];
  for (int* ends : {input, output, errors}) {
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    fcntl(ends[0], F_SETPIPE_SZ, 4096);
  }
  agent_.emplace(
      store_.directory(),
      std::vector<std::string>{"agent", "--store", store_.directory(), "--input", "-", "--trace", "*/8"},
      input[0], output[1], errors[1]);
  fcntl(input[1], F_SETFL, O_NONBLOCK);
  for (int i = 0; i < 200; ++i) {
    [[maybe_unused]] ssize_t const sent = write(input[1], kStatus.data(), kStatus.size());
    std::this_thread::sleep_for(1ms);
  }
  connect(client_);
  makeUnit("InLif1", 0);
  auto const begin = Clock::now();
  agent_->kill(SIGTERM);
  EXPECT_EQ(agent_->join(), 0);
  EXPECT_LT(Clock::now() - begin, 10s);
  for (int* ends : {input, output, errors}) close(ends[0]), close(ends[1]);
}

// Beyond the limit of connections one is told why it is refused, and no unit lacks a descriptor.
TEST_F(FrontDoorTest, whoIsOneTooManyIsToldSo) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  agentStarts();
  std::size_t const most = std::min<std::size_t>(kMostConnections, (limit.rlim_max - kDescriptorsKept) / 2);
  std::vector<Connection> others;
  for (std::size_t i = 1; i < most; ++i) {
    others.emplace_back(socket());
    ASSERT_TRUE(others.back().isOpen());
  }
  Connection late(socket());
  std::string told;
  EXPECT_TRUE(eventually([&] { return !(told = late.hear()).empty(); }));
  EXPECT_THAT(told, HasSubstr(std::to_string(most) + " connections, which is its limit"));
  EXPECT_EQ(late.hear(), "");
  for (unsigned unit = 0; unit < 64; ++unit) makeUnit("InLif1", unit);
  others.pop_back();
  EXPECT_TRUE(eventually([&] {
    AgentClient next;
    Json answer;
    return next.connect(socket()).isOk() && next.ask({{"op", "latency"}, {"id", 1}}, answer, 1s).isOk();
  }));
}

// Those who come while the agent is busy, even stopped, wait in its queue.
TEST_F(FrontDoorTest, aHundredMayComeAtOnce) {
  agentStarts();
  agent_->kill(SIGSTOP);
  std::vector<Connection> crowd;
  pid_t const comes = TestSupport::forked([&] {
    for (int i = 0; i < 100; ++i) crowd.emplace_back(socket());
    for (Connection& one : crowd) one.say(kStatus);
    kill(agent_->pid(), SIGCONT);
    for (Connection& one : crowd)
      if (!eventually([&] { return !one.hear().empty(); })) return 1;
    return 0;
  });
  int end = -1;
  EXPECT_TRUE(eventually([&] { return waitpid(comes, &end, WNOHANG) == comes; }))
      << "they do not fit into it";
  EXPECT_EQ(end, 0) << "one was not answered";
  kill(comes, SIGKILL);
  agent_->kill(SIGCONT);
}

// A connection that there is no descriptor for waits; it costs the agent nothing, and the others nothing either.
TEST_F(FrontDoorTest, withoutDescriptorsAConnectionWaits) {
  agentStarts();
  makeUnit("InLif1", 0);
  rlimit before{};
  rlimit none{0, 0};  // up to the first number that is free
  while (std::filesystem::exists(std::filesystem::symlink_status("/proc/" + std::to_string(agent_->pid()) +
                                                                 "/fd/" + std::to_string(none.rlim_cur))))
    ++none.rlim_cur;
  ASSERT_EQ(prlimit(agent_->pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  none.rlim_max = before.rlim_max;
  ASSERT_EQ(prlimit(agent_->pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  AgentClient late;
  connect(late);
  late.send({{"op", "status"}, {"id", 1}});
  std::uint64_t const since = nanosecondsRun();
  Json message;
  EXPECT_FALSE(late.receive(message, 1000));
  EXPECT_LT(nanosecondsRun() - since, 300'000'000u) << "it does not spin";
  EXPECT_EQ(count("InLif1", 0), 0);
  ASSERT_EQ(prlimit(agent_->pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_TRUE(late.receive(message, 20'000));
  EXPECT_THAT(agent_->err(), HasSubstr("no connection can be accepted: Too many open files"));
}

}  // namespace
