// A connection to the agent's socket that does not wait, for clients that do not behave: it says and hears bytes.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "tools/agent/loop/Listener.h"

namespace ToolsTest {

class Connection {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds kPatience{1};

  // Open, or not when the agent takes nobody.
  explicit Connection(std::string const& path) {
    if (Inlif::Listener::connect(path, descriptor_, kPatience).isOk())
      fcntl(descriptor_, F_SETFL, O_NONBLOCK);
  }
  ~Connection() { end(); }
  Connection(Connection&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Connection& operator=(Connection&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  bool isOpen() const { return descriptor_ >= 0; }
  void end() {
    if (isOpen()) close(std::exchange(descriptor_, -1));
  }
  void halfClose() const { shutdown(descriptor_, SHUT_WR); }

  // As much of it as the agent takes, until it has taken nothing for `patience`. Returns the rest.
  std::string_view say(std::string_view text,
                       std::chrono::milliseconds patience = std::chrono::milliseconds(50)) const {
    for (auto end = Clock::now() + patience; !text.empty();) {
      ssize_t const count = send(descriptor_, text.data(), text.size(), MSG_NOSIGNAL);
      if (count > 0) {
        text.remove_prefix(static_cast<std::size_t>(count));
        end = Clock::now() + patience;
      } else if (errno != EAGAIN || Clock::now() >= end) {
        break;
      } else {
        wait(POLLOUT);
      }
    }
    return text;
  }
  // What is there, or comes soon; empty also at the end.
  std::string hear(std::size_t most = 65536) const {
    std::string text(most, '\0');
    wait(POLLIN);
    ssize_t const count = recv(descriptor_, text.data(), most, 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
  }

 private:
  void wait(short events) const {
    pollfd waiting{descriptor_, events, 0};
    poll(&waiting, 1, 5);
  }
  int descriptor_ = -1;
};

}  // namespace ToolsTest
