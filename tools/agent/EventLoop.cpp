#include "tools/agent/EventLoop.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include "Shoal/StoreRoot.h"
#include "Vex/ErrorPrint.h"

namespace Inlif {
namespace {

// What a descriptor of the epoll set stands for; a channel has its number, above these.
constexpr std::uint64_t kSignalTag = 1ULL << 32;
constexpr std::uint64_t kReportTag = kSignalTag + 1;
constexpr std::uint64_t kListenerTag = kSignalTag + 2;
// Lines of one channel in one turn.
constexpr int kLinesOfTurn = 256;
// Heads of the resolver are asked again after a second; the loop looks at least that often.
constexpr int kIdleMilliseconds = 1000;

}  // namespace

EventLoop::EventLoop(Host& host, std::string configFile, RestartOptions const& restart, int signals)
    : host_(host),
      restart_(restart),
      config_(host, clients_, *this, std::move(configFile)),
      operations_(host, clients_, config_, *this, restart_),
      signals_(signals) {}

EventLoop::~EventLoop() {
  if (epoll_ >= 0) close(epoll_);
}

Pivot::Status EventLoop::open(std::string const& input, std::string const& socket) {
  epoll_ = epoll_create1(EPOLL_CLOEXEC);
  if (epoll_ < 0) return Pivot::Status::refused(fmt::format("no epoll: {}", std::strerror(errno)));
  int in = -1;
  if (input == "-") {
    in = STDIN_FILENO;
  } else if (!input.empty()) {
    in = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
      return Pivot::Status::refused(
          fmt::format("--input {}: {}; expected a file of operations or -", input, std::strerror(errno)));
  }
  struct stat kind {};
  inputIsFile_ = in >= 0 && fstat(in, &kind) == 0 && (S_ISREG(kind.st_mode) || S_ISDIR(kind.st_mode));
  if (S_ISDIR(kind.st_mode)) {
    return Pivot::Status::refused(
        fmt::format("--input {}: is a directory; expected a file of operations or -", input));
  }
  Pivot::Status status = clients_.open(VexSharedMem::StoreRoot::root() + "/clients.json", restart_.clients);
  if (status.isOk()) status = listener_.open(socket);
  if (status.isOk()) status = reports_.start();
  if (!status.isOk()) return status;
  watch(signals_, kSignalTag, EPOLLIN);
  watch(reports_.descriptor(), kReportTag, EPOLLIN);
  watch(listener_.descriptor(), kListenerTag, EPOLLIN);
  if (in >= 0) add(kInput, std::make_unique<Channel>(in, STDOUT_FILENO));
  return status;
}

Pivot::Status EventLoop::configure() {
  if (config_.file().empty()) return Pivot::Status::ok();
  Json result;
  Pivot::Status status = config_.read(config_.file(), result);
  if (status.isOk()) {
    result["event"] = "config";
    broadcast(result);
  }
  return status;
}

void EventLoop::watch(int descriptor, std::uint64_t tag, std::uint32_t events) const {
  epoll_event event{};
  event.events = events;
  event.data.u64 = tag;
  if (epoll_ctl(epoll_, EPOLL_CTL_MOD, descriptor, &event) != 0)
    epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event);
}

void EventLoop::add(ChannelNumber number, std::unique_ptr<Channel> channel) {
  if (number != kInput || !inputIsFile_) watch(channel->in(), number, EPOLLIN);
  channels_[number] = std::move(channel);
}

void EventLoop::send(ChannelNumber channel, Json const& message) {
  auto const found = channels_.find(channel);
  if (found != channels_.end()) found->second->send(message);
}

void EventLoop::broadcast(Json const& message) {
  for (auto const& [number, channel] : channels_) channel->send(message);
}

bool EventLoop::isFull(ChannelNumber channel) const {
  auto const found = channels_.find(channel);
  return found != channels_.end() && found->second->isFull();
}

void EventLoop::acceptAll() {
  for (int connection = listener_.accept(); connection >= 0; connection = listener_.accept()) {
    add(nextChannel_++, std::make_unique<Channel>(connection, connection));
  }
}

void EventLoop::takeSignal() {
  signalfd_siginfo info{};
  while (read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo != SIGHUP) {
      stop_ = true;
      continue;
    }
    Json result;
    Pivot::Status const status =
        config_.file().empty()
            ? Pivot::Status::refused("SIGHUP: no configuration is served; expected --config at the start")
            : config_.read(config_.file(), result);
    if (status.isOk()) {
      result["event"] = "config";
      broadcast(result);
    } else {
      Vex::errorPrint("inlif: {}\n", status.message());
      broadcast({{"event", "config"}, {"error", status.message()}});
    }
  }
}

void EventLoop::dispatch(std::uint64_t tag, std::uint32_t events) {
  if (tag == kSignalTag) return takeSignal();
  if (tag == kReportTag) return reports_.taken();
  if (tag == kListenerTag) return acceptAll();
  auto const found = channels_.find(static_cast<ChannelNumber>(tag));
  if (found == channels_.end()) return;
  Channel& channel = *found->second;
  if (channel.inputEnded() && (events & (EPOLLHUP | EPOLLERR))) return channel.hangUp();
  channel.fill();
}

// Gives the lines that have come to the operations. Returns whether some are left for the next turn.
bool EventLoop::takeLines() {
  bool left = false;
  for (auto& [number, channel] : channels_) {
    if (operations_.holds(number)) continue;
    if (number == kInput && inputIsFile_ && !channel->ended()) {
      channel->fill();
      left = true;
    }
    std::string_view line;
    bool tooLong = false;
    int count = 0;
    while (count < kLinesOfTurn && !operations_.quitAsked() && !operations_.holds(number) &&
           channel->nextLine(line, tooLong)) {
      operations_.execute(number, line, tooLong);
      tooLong = false;
      ++count;
    }
    left |= count == kLinesOfTurn;
  }
  return left;
}

void EventLoop::flushAll() {
  for (auto at = channels_.begin(); at != channels_.end();) {
    auto& [number, channel] = *at;
    channel->flush();
    // A peer that has said its last line may still wait for answers, and what one said before it went is done
    // all the same. The input stays in any case, for the answers and events to come.
    bool const gone =
        channel->ended() && (channel->broken() || (!channel->hasUnsent() && !operations_.owes(number)));
    if (channel->isSocket() && gone) {
      operations_.channelGone(number);
      at = channels_.erase(at);
      continue;
    }
    // A channel that is held, or has said its last, is not listened to: epoll would tell of the same bytes
    // again and again.
    bool const listens = !channel->inputEnded() && !operations_.holds(number);
    std::uint32_t const events =
        (listens ? EPOLLIN : 0U) | (channel->isSocket() && channel->hasUnsent() ? EPOLLOUT : 0U);
    // One that stays without being listened to is told of when its peer goes.
    bool const stays = listens || (!channel->broken() && (channel->isSocket() || !channel->inputEnded()));
    if (stays) {
      if (number != kInput || !inputIsFile_) watch(channel->in(), number, events);
    } else {
      epoll_ctl(epoll_, EPOLL_CTL_DEL, channel->in(), nullptr);
    }
    ++at;
  }
}

int EventLoop::timeout(bool busy) const {
  if (busy) return 0;
  auto const until = operations_.nextDeadline();
  if (until == Operations::Clock::time_point::max()) return kIdleMilliseconds;
  auto const left =
      std::chrono::duration_cast<std::chrono::milliseconds>(until - Operations::Clock::now()).count() + 1;
  return static_cast<int>(std::clamp<long>(left, 0, kIdleMilliseconds));
}

int EventLoop::run() {
  bool busy = true;
  while (!stop_ && !operations_.quitAsked()) {
    epoll_event events[16];
    int const count = epoll_wait(epoll_, events, 16, timeout(busy));
    operations_.turnTime().begin();
    for (int i = 0; i < count; ++i) dispatch(events[i].data.u64, events[i].events);
    busy = takeLines();
    busy |= host_.turn();
    busy |= operations_.turn();
    flushAll();
    operations_.turnTime().end();
  }
  return shutDown();
}

int EventLoop::shutDown() {
  operations_.close();
  std::vector<std::string> const leaks = host_.close();
  operations_.quitAnswer(leaks);
  for (auto const& [number, channel] : channels_) {
    channel->flush();
    // The last words are worth a moment, when the peer is still there to take them.
    pollfd peer{channel->out(), POLLOUT, 0};
    while (channel->hasUnsent() && !channel->broken() && poll(&peer, 1, kIdleMilliseconds) > 0)
      channel->flush();
  }
  for (std::string const& leak : leaks) Vex::errorPrint("inlif: not freed: {}\n", leak);
  return leaks.empty() ? 0 : 1;
}

}  // namespace Inlif
