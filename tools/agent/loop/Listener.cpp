#include "tools/agent/loop/Listener.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "tools/json/ObjectReader.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

constexpr int kBacklog = 128;
constexpr std::chrono::milliseconds kConnectAgain{20};

Pivot::Status addressOf(std::string const& path, sockaddr_un& address) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    return Pivot::Status::refused(fmt::format("{}: too long for a socket; expected at most {} characters",
                                              path, sizeof address.sun_path - 1));
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  return Pivot::Status::ok();
}

}  // namespace

std::string socketPath(std::string const& store) {
  return store + "/agent.sock";
}

Pivot::Status Listener::open(std::string const& path) {
  sockaddr_un address;
  Pivot::Status status = addressOf(path, address);
  if (!status.isOk()) return status;
  descriptor_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor_ < 0) return systemFailure(path, "no socket");
  unlink(path.c_str());
  // The mode is set by the mask while the name is made, so that it is never open to others.
  mode_t const mask = umask(0177);
  int const bound = bind(descriptor_, reinterpret_cast<sockaddr const*>(&address), sizeof address);
  umask(mask);
  if (bound != 0) return systemFailure(path, "cannot be made");
  path_ = path;
  if (listen(descriptor_, kBacklog) != 0) return systemFailure(path, "cannot listen");
  return Pivot::Status::ok();
}

Listener::~Listener() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!path_.empty()) unlink(path_.c_str());
}

int Listener::accept() const {
  return accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

bool Listener::outOfDescriptors() {
  return errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
}

void Listener::refuse(int connection, std::string const& why) {
  std::string const line = jsonText(Json{{"id", nullptr}, {"ok", false}, {"error", why}}) + "\n";
  // A new connection has room for it, unless its peer has gone.
  [[maybe_unused]] ssize_t const sent =
      send(connection, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  close(connection);
}

Pivot::Status Listener::connect(std::string const& path, int& descriptor,
                                std::chrono::milliseconds patience) {
  sockaddr_un address;
  Pivot::Status status = addressOf(path, address);
  if (!status.isOk()) return status;
  descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return systemFailure(path, "no socket");
  // The queue of an agent that stands still fills up. A connection that has to wait for room there is not under way:
  // it is to be asked for again.
  for (auto const end = std::chrono::steady_clock::now() + patience;;) {
    if (::connect(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0)
      return Pivot::Status::ok();
    if ((errno != EAGAIN && errno != EINTR) || std::chrono::steady_clock::now() >= end) break;
    std::this_thread::sleep_for(kConnectAgain);
  }
  status = systemFailure(path, "no agent answers");
  close(descriptor);
  descriptor = -1;
  return status;
}

}  // namespace Inlif
