#include "Vex/NoWait.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <string>

namespace Vex {
namespace {

mode_t kindOf(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

// Whether a call now would not wait. What cannot be asked, a file, never does.
bool isReady(int descriptor, short events) {
  pollfd asked{descriptor, events, 0};
  return ::poll(&asked, 1, 0) > 0;
}

// As write(), and a pipe without a reader is an error and no signal, whatever the process does with SIGPIPE. The signal
// goes to the thread that writes: it is held off, and taken unless one was waiting before.
ssize_t writeWithoutSignal(int descriptor, void const* data, std::size_t size) {
  sigset_t pipe, before, waiting;
  ::sigemptyset(&pipe);
  ::sigaddset(&pipe, SIGPIPE);
  ::sigpending(&waiting);
  ::pthread_sigmask(SIG_BLOCK, &pipe, &before);
  ssize_t const count = ::write(descriptor, data, size);
  int const error = errno;
  if (count < 0 && error == EPIPE && ::sigismember(&waiting, SIGPIPE) == 0) {
    timespec const now{};
    while (::sigtimedwait(&pipe, nullptr, &now) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return count;
}

}  // namespace

int openedNotToWait(int descriptor, int access) {
  mode_t const kind = kindOf(descriptor);
  if (kind != S_IFIFO && kind != S_IFCHR) return -1;
  std::string const path = fmt::format("/proc/self/fd/{}", descriptor);
  return ::open(path.c_str(), access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

ssize_t readNotToWait(int descriptor, void* data, std::size_t size) {
  if (kindOf(descriptor) == S_IFSOCK) return ::recv(descriptor, data, size, MSG_DONTWAIT);
  if (isReady(descriptor, POLLIN)) return ::read(descriptor, data, size);
  errno = EAGAIN;
  return -1;
}

ssize_t writeNotToWait(int descriptor, void const* data, std::size_t size) {
  mode_t const kind = kindOf(descriptor);
  if (kind == S_IFSOCK) return ::send(descriptor, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
  if (kind == S_IFREG) return ::write(descriptor, data, size);
  // A pipe that can be written has room for so much.
  if (isReady(descriptor, POLLOUT))
    return writeWithoutSignal(descriptor, data, std::min<std::size_t>(size, PIPE_BUF));
  errno = EAGAIN;
  return -1;
}

void writeError(std::string_view line) {
  static std::atomic<unsigned> lost{0};
  static std::atomic<bool> cut{false};  // the last line ended in the middle
  bool const wasCut = cut.exchange(false);
  std::string text = wasCut ? "\n" : "";
  unsigned const lostBefore = lost.exchange(0);
  if (lostBefore > 0) text += fmt::format("({} lines before this were lost: nobody took them)\n", lostBefore);
  text += line;
  // Opened for each line: who holds the process may lead the standard error output elsewhere at any time.
  int const own = openedNotToWait(STDERR_FILENO, O_WRONLY);
  std::string_view left = text;
  while (!left.empty()) {
    ssize_t const count = own >= 0 ? writeWithoutSignal(own, left.data(), left.size())
                                   : writeNotToWait(STDERR_FILENO, left.data(), left.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    left.remove_prefix(static_cast<std::size_t>(count));
  }
  if (own >= 0) ::close(own);
  if (left.empty()) return;
  lost += lostBefore + 1;
  cut = wasCut || left.size() < text.size();
}

}  // namespace Vex
