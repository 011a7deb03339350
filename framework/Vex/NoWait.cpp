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
  if (isReady(descriptor, POLLOUT)) return ::write(descriptor, data, std::min<std::size_t>(size, PIPE_BUF));
  errno = EAGAIN;
  return -1;
}

void writeError(std::string_view line) {
  static std::atomic<unsigned> lost{0};
  static std::atomic<bool> cut{false};  // the last line ended in the middle
  std::string text = cut.exchange(false) ? "\n" : "";
  unsigned const lostBefore = lost.exchange(0);
  if (lostBefore > 0) text += fmt::format("({} lines before this were lost: nobody took them)\n", lostBefore);
  text += line;
  // Opened for each line: who holds the process may lead the standard error output elsewhere at any time.
  int const own = openedNotToWait(STDERR_FILENO, O_WRONLY);
  std::string_view left = text;
  while (!left.empty()) {
    ssize_t const count = own >= 0 ? ::write(own, left.data(), left.size())
                                   : writeNotToWait(STDERR_FILENO, left.data(), left.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    left.remove_prefix(static_cast<std::size_t>(count));
  }
  if (own >= 0) ::close(own);
  if (left.empty()) return;
  lost += lostBefore + 1;
  cut = left.size() < text.size();
}

}  // namespace Vex
