// The command itself, run as processes on a store of the test's own, and clients of its socket.
#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>

#include "Members.h"
#include "support/TempStore.h"
#include "tools/agent/loop/Listener.h"
#include "tools/agent/operations/Limits.h"
#include "tools/demo/AgentClient.h"
#include "tools/support/Tables.h"

namespace Inlif {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// A sanitizer makes the programs ten times as slow, and keeps memory that was freed.
#ifdef LOAM_SANITIZED
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

inline std::string contentsOf(std::string const& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// The memory of a process that is not the store's.
inline std::size_t ownMemory(pid_t process) {
  std::string const status = contentsOf(fmt::format("/proc/{}/status", process));
  return std::stoull(status.substr(status.find("RssAnon:") + 8)) * kKiB;
}

// Whether it comes to hold soon.
template <class Holds>
bool eventually(Holds holds) {
  for (int i = 0; i < 5000; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(4)))
    if (holds()) return true;
  return false;
}

// One run of the command. Without descriptors of its own its standard input is empty, and its output in a file.
class Program {
 public:
  Program(std::string directory, std::vector<std::string> arguments, int in = -1, int out = -1, int err = -1)
      : out_(directory + "/.out"), err_(directory + "/.err") {
    static int number = 0;
    out_ += std::to_string(++number);
    err_ += std::to_string(number);
    std::vector<char*> argv{const_cast<char*>(INLIF_PROGRAM)};
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(in >= 0 ? in : open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(out >= 0 ? out : open(out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(err >= 0 ? err : open(err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    execv(INLIF_PROGRAM, argv.data());
    _exit(127);
  }
  ~Program() {
    if (pid_ > 0) {
      kill(SIGKILL);
      join();
    }
  }
  pid_t pid() const { return pid_; }
  void kill(int signal) const { ::kill(pid_, signal); }
  int join() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  std::string out() const { return contentsOf(out_); }
  std::string err() const { return contentsOf(err_); }

 private:
  std::string out_;
  std::string err_;
  pid_t pid_;
};

// Operations of `client_` are given by their members or, where their id matters, as a whole.
class ProgramsTest : public testing::Test {
 protected:
  Program start(std::vector<std::string> arguments) {
    return Program(store_.directory(), std::move(arguments));
  }
  // What one run says until its end. All commands but one work on a store.
  std::string said(std::vector<std::string> arguments, int expectedStatus = 0) {
    if (arguments.front() != "types") arguments.insert(arguments.end(), {"--store", store_.directory()});
    Program program = start(std::move(arguments));
    EXPECT_EQ(program.join(), expectedStatus);
    Members::expectKnownIn(program.out());
    return program.out() + program.err();
  }
  // What a run writes to a terminal of so many columns, which is its standard output or its standard error.
  std::string onTerminal(std::vector<std::string> arguments, int descriptor,
                         unsigned short columns = 80) const {
    int master = -1, terminal = -1;
    winsize const size{24, columns, 0, 0};
    EXPECT_EQ(openpty(&master, &terminal, nullptr, nullptr, &size), 0);
    fcntl(master, F_SETFD, FD_CLOEXEC);
    bool const isError = descriptor == STDERR_FILENO;
    Program program(store_.directory(), std::move(arguments), -1, isError ? -1 : terminal,
                    isError ? terminal : -1);
    close(terminal);
    std::string text;
    char piece[4096];
    for (ssize_t got; (got = read(master, piece, sizeof piece)) > 0;)
      text.append(piece, static_cast<std::size_t>(got));
    close(master);
    EXPECT_EQ(program.join(), 0);
    return text;
  }
  Program startWriter() { return start({"writer", "--store", store_.directory()}); }
  std::string file(std::string const& name, std::string const& text) {
    std::string const path = store_.directory() + "/." + name;
    std::ofstream(path) << text;
    return path;
  }
  // Runs an agent over the operations to its end and returns its lines.
  std::vector<Json> agent(std::string const& operations, int expectedStatus = 0) {
    Program program =
        start({"agent", "--store", store_.directory(), "--input", file("operations", operations)});
    EXPECT_EQ(program.join(), expectedStatus) << program.err();
    std::vector<Json> lines;
    std::istringstream text(program.out());
    for (std::string line; std::getline(text, line);) lines.push_back(Json::parse(line));
    Members::expectKnown(Json(lines));
    return lines;
  }
  static std::vector<Json> ofId(std::vector<Json> const& lines, Json const& id) {
    std::vector<Json> own;
    for (Json const& line : lines) {
      if (line.contains("id") && line["id"] == id) own.push_back(line);
    }
    return own;
  }
  void connect(AgentClient& client) {
    Pivot::Status status = Pivot::Status::refused("not tried");
    for (int i = 0; i < 2000 && !status.isOk(); ++i) {
      status = client.connect(socketPath(store_.directory()));
      if (!status.isOk()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(status.isOk()) << status.message();
  }
  static Json asked(AgentClient& client, Json const& operation) {
    Json answer;
    Pivot::Status const status = client.ask(operation, answer, AgentClient::kLongPatience,
                                            [](Json const& line) { Members::expectKnown(line); });
    EXPECT_TRUE(status.isOk()) << status.message();
    Members::expectKnown(answer);
    return answer;
  }

  // Kills the agent that runs and begins the next life, with a client.
  void agentStarts(std::vector<std::string> const& options = {}) {
    agent_.reset();
    std::vector<std::string> arguments{"agent", "--store", store_.directory()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    agent_.emplace(store_.directory(), arguments);
    client_ = AgentClient();
    connect(client_);
  }
  void send(std::string const& operation) { client_.send(Json::parse(operation)); }
  Json ask(std::string const& members) { return asked(client_, operation(members)); }
  Json ask(char const* op, std::string const& table, unsigned unit, std::string const& more = "") {
    return ask(fmt::format(R"("op":"{}","table":"{}","unit":{}{})", op, table, unit, more));
  }
  Json makeUnit(std::string const& table, unsigned unit) { return ask("unit", table, unit); }
  Json count(std::string const& table, unsigned unit) { return ask("count", table, unit)["count"]; }
  std::string refusal(std::string const& members) {
    Json answer;
    return client_.ask(operation(members), answer, AgentClient::kLongPatience).message();
  }
  Json event(std::string const& name) { return event(client_, name); }
  static Json event(AgentClient& client, std::string const& name) {
    Json message;
    while (client.receive(message, 20000)) {
      Members::expectKnown(message);
      if (message.value("event", "") == name) return message;
    }
    ADD_FAILURE() << "no event " << name;
    return Json::object({{"tables", Json::array()}});
  }

  TestSupport::TempStore store_;
  std::optional<Program> agent_;
  AgentClient client_;

 private:
  // Each has an id of its own: that of a write stays in use until its handle is done.
  Json operation(std::string const& members) {
    return Json::parse(R"({"id":"a)" + std::to_string(++operations_) + R"(",)" + members + "}");
  }
  int operations_ = 0;
};

// The same beside a writer of the hardware.
class WithWriterTest : public ProgramsTest {
 protected:
  Program writer_ = startWriter();
};

}  // namespace Inlif
