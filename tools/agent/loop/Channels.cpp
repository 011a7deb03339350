#include "tools/agent/loop/Channels.h"

#include <poll.h>
#include <sys/epoll.h>

#include <utility>
#include <vector>

#include "Vex/ErrorPrint.h"
#include "tools/agent/operations/Operations.h"

namespace Inlif {
namespace {

// What all channels together take of one turn, and one of them before the next is served.
constexpr std::chrono::microseconds kSlice{500};
constexpr std::chrono::microseconds kPart{50};
// Whoever asks now and then waits for the first line of each of those who came before, not for the part of each: so many
// first lines are done between two parts.
constexpr unsigned kFreshInARow = 8;
// A crowd that goes is dropped over some turns.
constexpr std::size_t kMostDropped = 32;
// Blocks of their backlogs that are dropped in a turn.
constexpr std::size_t kBlocksDropped = 2;
// For so long what a peer said before it went is still done.
constexpr std::chrono::seconds kGonePatience{10};

}  // namespace

Channel& Channels::inputIs(int in, int out) {
  Peer& peer = channels_[kInput];
  peer.channel = std::make_unique<Channel>(in, out, &pools_);
  return *peer.channel;
}

ChannelNumber Channels::add(int connection) {
  Peer& peer = channels_[next_];
  peer.channel = std::make_unique<Channel>(connection, connection, &pools_);
  peer.channel->readableIs(false);  // until epoll tells that it has something to say
  return next_++;
}

void Channels::told(ChannelNumber number, std::uint32_t events) {
  auto const at = channels_.find(number);
  if (at == channels_.end()) return;
  Peer& peer = at->second;
  if (events & (EPOLLOUT | EPOLLHUP | EPOLLERR)) peer.channel->writableAgain();
  if (!(events & (EPOLLIN | EPOLLHUP | EPOLLERR))) return;
  bool const gone = peer.channel->isSocket() && (events & (EPOLLHUP | EPOLLERR));
  if (gone) peer.channel->peerGone();
  bool const hadNothing = !peer.channel->readable() && !peer.channel->mayHaveLine();
  peer.channel->readableIs(true);
  if (peer.queued || !hadNothing) return;
  peer.queued = true;
  (gone ? behind_ : fresh_).push_back(number);
}

// Long answers and waits hold their channel; one that does not take its answers gets no more of them.
bool Channels::mayGoOn(ChannelNumber number, Peer& peer, Operations const& operations) const {
  if (operations.holds(number) || peer.channel->isFull()) return false;
  if (peer.waitsForRoom && !operations.hasRoom(number)) return false;
  peer.waitsForRoom = false;
  return peer.channel->mayHaveLine() || peer.channel->readable();
}

void Channels::serve(Operations& operations) {
  auto const end = Clock::now() + kSlice;
  while (anyQueued() && !operations.quitAsked()) {
    bool const isFresh = behind_.empty() || (freshInARow_ < kFreshInARow && !fresh_.empty());
    freshInARow_ = isFresh ? freshInARow_ + 1 : 0;
    auto& queue = isFresh ? fresh_ : behind_;
    ChannelNumber const number = queue.front();
    queue.pop_front();
    auto const at = channels_.find(number);
    if (at == channels_.end()) continue;
    at->second.queued = false;
    serve(number, at->second, operations, isFresh ? Clock::duration() : kPart);
    if (Clock::now() >= end) return;
  }
}

// The time is looked at after each operation, and after each reading but the first: who has said one line is heard in
// this turn even if the reading took all of the part.
void Channels::serve(ChannelNumber number, Peer& peer, Operations& operations, Clock::duration part) {
  Channel& channel = *peer.channel;
  auto const end = Clock::now() + part;
  bool partIsOver = false;
  for (bool hasRead = false; !partIsOver;) {
    if (!mayGoOn(number, peer, operations)) {
      // Whoever asks now and then waits for no more than this.
      if (channel.hasUnsent() && channel.writable()) channel.flush();
      return;
    }
    std::string_view line;
    bool tooLong = false;
    if (!channel.nextLine(line, tooLong)) {
      channel.fill();
      if (!std::exchange(hasRead, true)) continue;
    } else if (!operations.execute(number, line, tooLong)) {
      channel.putBack();
      peer.waitsForRoom = true;
      return;
    }
    if (operations.quitAsked()) return;
    partIsOver = Clock::now() >= end && channel.mayHaveLine();
  }
  if (!mayGoOn(number, peer, operations)) return;
  peer.queued = true;
  behind_.push_back(number);
}

// Whether the channel of a connection is to be dropped. A peer that has said its last line may still wait for answers;
// one that has gone has what it said before done all the same, but for what only asks, unless that has to wait too long.
bool Channels::isOver(ChannelNumber number, Peer& peer, Operations& operations) {
  Channel const& channel = *peer.channel;
  if (!channel.isSocket()) return false;
  if (!channel.broken()) return channel.ended() && !channel.hasUnsent() && !operations.owes(number);
  if (!peer.goneSince) {
    peer.goneSince = Clock::now();
    operations.dropAnswers(number);
  }
  if (channel.ended()) return true;
  if (Clock::now() - *peer.goneSince < kGonePatience) return false;
  Vex::printError(
      "inlif: a client that went away {} s ago: {} bytes of what it had sent are not done, since they had to "
      "wait\n",
      kGonePatience.count(), channel.unreadBytes());
  return true;
}

void Channels::tend(Operations& operations) {
  std::size_t dropped = 0;
  std::size_t blocks = kBlocksDropped;
  for (auto at = channels_.begin(); at != channels_.end();) {
    auto& [number, peer] = *at;
    if (peer.channel->hasUnsent() && peer.channel->writable()) peer.channel->flush();
    bool const holdsUnsent = peer.channel->broken() && !peer.channel->dropUnsent(blocks);
    if (dropped < kMostDropped && !holdsUnsent && isOver(number, peer, operations)) {
      ++dropped;
      operations.channelGone(number);
      at = channels_.erase(at);
      continue;
    }
    if (!peer.queued && mayGoOn(number, peer, operations)) {
      peer.queued = true;
      behind_.push_back(number);
    }
    ++at;
  }
  moreToDrop_ = dropped == kMostDropped || blocks == 0;
}

void Channels::sayLastWords(std::chrono::milliseconds patience) {
  auto const end = Clock::now() + patience;
  for (;;) {
    std::vector<pollfd> waiting;
    for (auto& [number, peer] : channels_) {
      peer.channel->flush();
      if (peer.channel->hasUnsent()) waiting.push_back({peer.channel->out(), POLLOUT, 0});
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (waiting.empty() || left.count() <= 0 ||
        poll(waiting.data(), waiting.size(), static_cast<int>(left.count())) <= 0)
      return;
  }
}

void Channels::send(ChannelNumber channel, Json const& message) {
  auto const at = channels_.find(channel);
  if (at != channels_.end()) at->second.channel->send(message);
}

void Channels::sendText(ChannelNumber channel, std::string_view message) {
  auto const at = channels_.find(channel);
  if (at != channels_.end()) at->second.channel->sendText(message);
}

void Channels::broadcast(Json const& message) {
  if (channels_.empty()) return;
  std::string const line = jsonText(message) + '\n';
  for (auto const& [number, peer] : channels_) peer.channel->offer(line);
}

bool Channels::isGone(ChannelNumber channel) const {
  auto const at = channels_.find(channel);
  return at == channels_.end() || at->second.channel->broken();
}

bool Channels::isFull(ChannelNumber channel) const {
  auto const at = channels_.find(channel);
  return at != channels_.end() && at->second.channel->isBusy();
}

}  // namespace Inlif
