#include "tools/demo/Process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <fstream>

namespace Inlif {

Process::Process(std::string name, std::vector<std::string> arguments, std::string logFile)
    : name_(std::move(name)), arguments_(std::move(arguments)), logFile_(std::move(logFile)) {}

Process::~Process() {
  kill();
  if (descriptor_ >= 0) close(descriptor_);
}

Pivot::Status Process::start() {
  std::vector<char*> argv;
  static char program[] = "inlif";
  argv.push_back(program);
  for (std::string& argument : arguments_) argv.push_back(argument.data());
  argv.push_back(nullptr);
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
  killed_ = false;
  end_.clear();
  pid_t const parent = getpid();
  pid_ = fork();
  if (pid_ < 0)
    return Pivot::Status::refused(fmt::format("{} cannot be started: {}", name_, std::strerror(errno)));
  if (pid_ > 0) {
    descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    return Pivot::Status::ok();
  }
  // In the child: calls that are safe after a fork only.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  int const log = open(logFile_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  int const nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  execv("/proc/self/exe", argv.data());
  _exit(127);
}

bool Process::running() {
  if (pid_ <= 0) return false;
  int status = 0;
  pid_t const found = waitpid(pid_, &status, WNOHANG);
  if (found == 0) return true;
  static_cast<void>(ended(status));
  return false;
}

void Process::kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  static_cast<void>(join());
}

void Process::freeze(bool stopped) {
  if (pid_ <= 0) return;
  ::kill(pid_, stopped ? SIGSTOP : SIGCONT);
  // The signal is on its way until the kernel says that it has arrived.
  siginfo_t info{};
  if (stopped) waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOWAIT);
}

Pivot::Status Process::ended(int status) {
  pid_ = -1;
  killed_ = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return Pivot::Status::ok();
  end_ = WIFSIGNALED(status) ? fmt::format("{} ended by signal {}", name_, WTERMSIG(status))
                             : fmt::format("{} ended with status {}", name_, WEXITSTATUS(status));
  return Pivot::Status::refused(end_);
}

Pivot::Status Process::terminate() {
  if (pid_ <= 0) return Pivot::Status::refused(fmt::format("{} does not run", name_));
  ::kill(pid_, SIGTERM);
  return join();
}

Pivot::Status Process::join() {
  int status = 0;
  if (pid_ <= 0 || waitpid(pid_, &status, 0) != pid_)
    return Pivot::Status::refused(fmt::format("{} does not run", name_));
  return ended(status);
}

std::string Process::lastWords() const {
  std::ifstream file(logFile_);
  std::deque<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
    if (lines.size() > 10) lines.pop_front();
  }
  std::string text;
  for (std::string const& line : lines) text += fmt::format("  {}: {}\n", name_, line);
  return text;
}

}  // namespace Inlif
