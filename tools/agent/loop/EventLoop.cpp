#include "tools/agent/loop/EventLoop.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

#include "Shoal/StoreRoot.h"
#include "Vex/ErrorPrint.h"
#include "tools/support/Service.h"

namespace Inlif {
namespace {

// What a descriptor of the epoll set stands for; a channel has its number, below these.
constexpr std::uint64_t kSignalTag = 1ULL << 32;
constexpr std::uint64_t kHostTag = kSignalTag + 1;
constexpr std::uint64_t kListenerTag = kSignalTag + 2;
constexpr std::uint64_t kConfigTag = kSignalTag + 3;
// A channel is told of once each time when it can go on; it remembers that itself.
constexpr std::uint32_t kChannelEvents = EPOLLIN | EPOLLOUT | EPOLLET;
// Of all descriptors that there can be, so that nobody waits for a later turn to be heard.
constexpr int kEventsOfTurn = static_cast<int>(kMostConnections) + 8;
constexpr int kConnectionsOfTurn = 16;
// How long nobody is accepted after descriptors were out.
constexpr std::chrono::milliseconds kAcceptPause{100};
// What is left to be sent at the end is worth so long.
constexpr std::chrono::milliseconds kLastWords{1000};

// Takes as many descriptors as the process may have, and tells how many connections leave enough of them.
Pivot::Status descriptorsAre(std::size_t& mostConnections) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  rlimit const all{limit.rlim_max, limit.rlim_max};
  if (setrlimit(RLIMIT_NOFILE, &all) == 0) limit = all;
  if (limit.rlim_cur < kLeastDescriptors) {
    return Pivot::Status::refused(
        fmt::format("the limit of open files is {}; expected at least {} (ulimit -n)", limit.rlim_cur,
                    kLeastDescriptors));
  }
  mostConnections = std::min<std::size_t>(kMostConnections, (limit.rlim_cur - kDescriptorsKept) / 2);
  return Pivot::Status::ok();
}

}  // namespace

EventLoop::EventLoop(LoamAgent::Host& host, ConfigOptions config, LoamAgent::Restart::Options const& restart,
                     int signals)
    : host_(host),
      clientsFile_(VexSharedMem::StoreRoot::root() + "/" + ClientsFile::kName),
      restart_(host, restart),
      channels_(pools_),
      config_(host, restart_.clients(), channels_, std::move(config)),
      operations_(host, restart_, config_, channels_, pools_),
      signals_(signals) {}

EventLoop::~EventLoop() {
  if (epoll_ >= 0) close(epoll_);
}

Pivot::Status EventLoop::open(std::string const& input, std::string const& socket,
                              std::vector<std::string> const& clients) {
  Pivot::Status status = descriptorsAre(mostConnections_);
  if (!status.isOk()) return status;
  epoll_ = epoll_create1(EPOLL_CLOEXEC);
  if (epoll_ < 0) return Pivot::Status::refused(fmt::format("no epoll: {}", std::strerror(errno)));
  if (!input.empty()) status = openInput(input);
  if (status.isOk()) status = openClients(clients);
  if (status.isOk()) status = listener_.open(socket);
  int reports = -1;
  if (status.isOk()) status = host_.watch(reports);
  if (status.isOk()) status = config_.open();
  if (!status.isOk()) return status;
  watch(signals_, kSignalTag, EPOLLIN);
  watch(reports, kHostTag, EPOLLIN);
  watch(listener_.descriptor(), kListenerTag, EPOLLIN);
  watch(config_.descriptor(), kConfigTag, EPOLLIN);
  return status;
}

Pivot::Status EventLoop::openClients(std::vector<std::string> const& clients) {
  using LoamAgent::RestartClients;
  Pivot::Status status = restart_.clients().open(clientsFile_, clients);
  for (std::string const& name : clients) {
    if (status.isOk() && !RestartClients::isName(name))
      status = Pivot::Status::refused(
          fmt::format("--client \"{}\": expected a name of 1 to {} bytes", name, RestartClients::kMostName));
  }
  return status;
}

Pivot::Status EventLoop::openInput(std::string const& input) {
  auto const refused = [&](char const* why) {
    return Pivot::Status::refused(
        fmt::format("--input {}: {}; expected a file of operations or -", input, why));
  };
  // Not to wait: a named pipe may have no writer yet.
  int const in = input == "-" ? STDIN_FILENO : ::open(input.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (in < 0) return refused(std::strerror(errno));
  struct stat kind {};
  if (fstat(in, &kind) == 0 && S_ISDIR(kind.st_mode)) {
    if (in > STDERR_FILENO) close(in);
    return refused("is a directory");
  }
  Channel& channel = channels_.inputIs(in, STDOUT_FILENO);
  // What epoll does not take, a file, can always be read and written.
  if (watch(channel.in(), Channels::kInput, EPOLLIN | EPOLLET)) channel.readableIs(false);
  watch(channel.out(), Channels::kInput, EPOLLOUT | EPOLLET);
  return Pivot::Status::ok();
}

bool EventLoop::watch(int descriptor, std::uint64_t tag, std::uint32_t events) const {
  epoll_event event{};
  event.events = events;
  event.data.u64 = tag;
  return epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void EventLoop::acceptAll() {
  for (int i = 0; i < kConnectionsOfTurn; ++i) {
    int const connection = listener_.accept();
    if (connection < 0) {
      if (Listener::outOfDescriptors()) pauseAccept();
      return;
    }
    if (channels_.connections() >= mostConnections_) {
      Listener::refuse(connection, fmt::format("the agent has {} connections, which is its limit; expected "
                                               "one of them to end first",
                                               mostConnections_));
      continue;
    }
    acceptFails_ = false;
    ChannelNumber const number = channels_.add(connection);
    // One that cannot be watched is given up as if it had gone.
    if (!watch(connection, number, kChannelEvents)) channels_.told(number, EPOLLHUP);
  }
}

// The connection stays in the queue of the socket, which would tell of it again and again.
void EventLoop::pauseAccept() {
  if (!std::exchange(acceptFails_, true))
    Vex::printError("inlif: no connection can be accepted: {}\n", std::strerror(errno));
  acceptAgain_ = Clock::now() + kAcceptPause;
  epoll_ctl(epoll_, EPOLL_CTL_DEL, listener_.descriptor(), nullptr);
}

void EventLoop::takeSignal() {
  signalfd_siginfo info{};
  while (read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo != SIGHUP) {
      stop_ = true;
      continue;
    }
    if (!config_.file().empty()) {
      config_.readAgain();
      continue;
    }
    std::string const refusal = "SIGHUP: no configuration is served; expected --config at the start";
    Vex::printError("inlif: {}\n", refusal);
    channels_.broadcast({{"event", "config"}, {"error", refusal}});
  }
}

void EventLoop::dispatch(std::uint64_t tag, std::uint32_t events) {
  if (tag == kSignalTag) return takeSignal();
  if (tag == kListenerTag) return acceptAll();
  if (tag == kHostTag || tag == kConfigTag) return;  // the turn takes what there is
  channels_.told(static_cast<ChannelNumber>(tag), events);
}

int EventLoop::timeout(bool busy) const {
  if (busy) return 0;
  auto until = std::min(host_.nextDeadline(), operations_.nextDeadline());
  if (acceptAgain_) until = std::min(until, *acceptAgain_);
  auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count() + 1;
  return static_cast<int>(std::max<long>(left, 0));
}

int EventLoop::run() {
  bool busy = true;
  Service service;
  service.isReady("takes operations");
  while (!stop_ && !operations_.quitAsked()) {
    epoll_event events[kEventsOfTurn];
    int const count = epoll_wait(epoll_, events, kEventsOfTurn, timeout(busy));
    operations_.turnTime().begin();
    service.goesOn();
    for (int i = 0; i < count; ++i) dispatch(events[i].data.u64, events[i].events);
    if (acceptAgain_ && Clock::now() >= *acceptAgain_) {
      acceptAgain_.reset();
      watch(listener_.descriptor(), kListenerTag, EPOLLIN);
    }
    channels_.serve(operations_);
    busy = host_.turn();
    busy |= operations_.turn();
    channels_.tend(operations_);
    busy |= channels_.waiting();
    operations_.turnTime().end();
  }
  service.ends();
  return shutDown();
}

int EventLoop::shutDown() {
  operations_.close();
  std::vector<std::string> const leaks = host_.close();
  operations_.answerQuit(leaks);
  channels_.sayLastWords(kLastWords);
  for (std::string const& leak : leaks) Vex::printError("inlif: not freed: {}\n", leak);
  return leaks.empty() ? 0 : 1;
}

}  // namespace Inlif
