// Agent and writer under a manager of services: what they tell it, and how their lines look in its journal.
#include <sys/socket.h>
#include <sys/un.h>

#include "Programs.h"

namespace {

using namespace Inlif;
using namespace std::chrono_literals;

class ServiceTest : public ProgramsTest {
 protected:
  ServiceTest()
      : path_(store_.directory() + "/.notify"), manager_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(manager_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    timeval const patience{20, 0};
    setsockopt(manager_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setenv("NOTIFY_SOCKET", path_.c_str(), 1);
    setenv("WATCHDOG_USEC", "400000", 1);
  }
  ~ServiceTest() override {
    for (char const* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "JOURNAL_STREAM"}) unsetenv(name);
    close(manager_);
  }
  std::string told() const {
    char text[256];
    ssize_t const size = recv(manager_, text, sizeof text, 0);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

  std::string path_;
  int const manager_;
};

TEST_F(ServiceTest, theManagerHearsThatTheyAreReadyGoOnAndEnd) {
  for (char const* role : {"agent", "writer"}) {
    Program service = start({role, "--store", store_.directory()});
    std::string const first = told();
    if (first.empty()) GTEST_SKIP() << "built without the library of the manager";
    EXPECT_THAT(first, AllOf(HasSubstr("READY=1"), HasSubstr("STATUS="))) << role;
    EXPECT_TRUE(std::filesystem::exists(store_.directory() + "/.lock-" + role))
        << "not ready before the store is its own";
    for (int i = 0; i < 3; ++i) EXPECT_EQ(told(), "WATCHDOG=1") << role;
    auto const since = std::chrono::steady_clock::now();
    service.kill(SIGTERM);
    std::string last;
    while ((last = told()) == "WATCHDOG=1") continue;
    EXPECT_EQ(last, "STOPPING=1") << role;
    EXPECT_EQ(service.join(), 0) << role;
    EXPECT_LT(std::chrono::steady_clock::now() - since, kSanitized ? 10s : 1s) << role;
  }
}

// Only where standard error still is the stream that was named: a file behind it gets the time.
TEST_F(ServiceTest, theJournalGetsAPriorityInPlaceOfTheTime) {
  unsetenv("NOTIFY_SOCKET");
  for (bool const isJournal : {true, false}) {
    std::string const lines = file("lines", "");
    int const descriptor = open(lines.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    struct stat status {};
    fstat(descriptor, &status);
    setenv("JOURNAL_STREAM", fmt::format("{}:{}", status.st_dev, status.st_ino + !isJournal).c_str(), 1);
    Program agent(store_.directory(), {"agent", "--store", store_.directory()}, -1, -1, descriptor);
    close(descriptor);
    connect(client_);
    agent.kill(SIGHUP);
    EXPECT_TRUE(eventually([&] { return !contentsOf(lines).empty(); }));
    std::string const line = contentsOf(lines);
    EXPECT_EQ(line.starts_with("<3>1 inlif: SIGHUP"), isJournal) << line;
    EXPECT_EQ(line.starts_with("20"), !isJournal) << line;
  }
}

}  // namespace
