#include "tools/top/Terminal.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "tools/support/Command.h"

namespace Inlif {
namespace {

// Another screen than the one with what was typed before, without its cursor; and back.
constexpr char const* kTakeScreen = "\x1b[?1049h\x1b[?25l";
constexpr char const* kGiveBack = "\x1b[?25h\x1b[?1049l";
constexpr char const* kHome = "\x1b[H";
constexpr char const* kClearRest = "\x1b[J";
constexpr char const* kClearLine = "\x1b[K";

}  // namespace

Terminal::~Terminal() {
  if (hasModes_) tcsetattr(STDIN_FILENO, TCSANOW, &modes_);
  if (isOpen_) {
    fmt::print("{}", kGiveBack);
    std::fflush(stdout);
    std::clearerr(stdout);  // a terminal that has gone is an end like another
  }
  if (signals_ >= 0) close(signals_);
}

Pivot::Status Terminal::open() {
  Pivot::Status status = signalDescriptor({SIGINT, SIGTERM, SIGHUP, SIGWINCH}, signals_);
  if (!status.isOk()) return status;
  hasModes_ = tcgetattr(STDIN_FILENO, &modes_) == 0;
  if (hasModes_) {
    termios raw = modes_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);  // each key at once; ^C stays a signal
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  }
  isOpen_ = true;
  fmt::print("{}", kTakeScreen);
  return status;
}

// No line end behind the last line: on the lowest row it would move the screen.
void Terminal::draw(std::vector<Line> const& lines) const {
  Output const output;  // of the size that the terminal has now
  std::string text = kHome;
  for (std::size_t i = 0; i < lines.size(); ++i)
    text += (i == 0 ? "" : "\r\n") + output.shown(lines[i]) + kClearLine;
  text += kClearRest;
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

Terminal::Event Terminal::wait(std::chrono::milliseconds time) const {
  if (std::ferror(stdout)) return Event::ended;
  pollfd waiting[] = {{signals_, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
  if (poll(waiting, hasModes_ ? 2 : 1, static_cast<int>(time.count())) <= 0) return Event::none;
  if (waiting[0].revents != 0) {
    signalfd_siginfo info{};
    bool const isSize =
        read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info) && info.ssi_signo == SIGWINCH;
    return isSize ? Event::resized : Event::ended;
  }
  char key = 0;
  bool const isEnd = read(STDIN_FILENO, &key, 1) <= 0 || key == 'q' || key == 'Q' || key == '\x04';
  return isEnd ? Event::ended : Event::none;
}

}  // namespace Inlif
