// The agent's channels: which of them is served next and for how long, what is sent to them, and when one is dropped.
//
// The event loop owns the one object, tells it what epoll has told, and has it serve and tend once in each turn. On
// the agent's one thread.
//
// F1. All channels together take one slice of time of a turn, and one of them a part of it before the next is served.
//     One operation may take longer; its channel then stands behind all others.
// F2. There are two kinds of channels: those that had nothing to say and now have, and those that had more to say than
//     their part, with those whose peer has gone. Of the first kind a first line each is done, some between two parts
//     of the second, so that who asks now and then waits for one line of each of those before it and for no backlog
//     but its own. The next slice goes on where this one ends, so that neither kind waits for ever where one
//     operation takes a whole slice.
// F3. A channel that is at a limit, or waits for its answer, stands in no queue; tend() queues it again.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "tools/agent/loop/Channel.h"
#include "tools/agent/operations/Outlet.h"

namespace Inlif {

class Operations;

class Channels final : public Outlet {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr ChannelNumber kInput = 1;

  explicit Channels(Pools& pools) : pools_(pools) {}

  // The channel of standard input or of a file; it stays when its input has ended, for the answers and events to come.
  Channel& inputIs(int in, int out);
  // A connection; its number is never used again.
  ChannelNumber add(int connection);
  std::size_t connections() const { return channels_.size() - (channels_.contains(kInput) ? 1 : 0); }

  // What epoll has told, as its bits.
  void told(ChannelNumber channel, std::uint32_t events);
  // Serves for a slice of time.
  void serve(Operations& operations);
  // Sends what is to be sent, drops who has gone, and queues who may be served again.
  void tend(Operations& operations);
  // Whether somebody waits to be served, or dropped.
  bool waiting() const { return anyQueued() || moreToDrop_; }
  // Sends what is left, for at most so long.
  void sayLastWords(std::chrono::milliseconds patience);

  void send(ChannelNumber channel, Json const& message) override;
  void sendText(ChannelNumber channel, std::string_view message) override;
  void broadcast(Json const& message) override;
  bool isGone(ChannelNumber channel) const override;
  bool isFull(ChannelNumber channel) const override;

 private:
  struct Peer {
    std::unique_ptr<Channel> channel;
    bool queued = false;
    bool waitsForRoom = false;  // its next line begins an operation for which there is no room
    std::optional<Clock::time_point> goneSince;
  };

  bool anyQueued() const { return !fresh_.empty() || !behind_.empty(); }
  void serve(ChannelNumber number, Peer& peer, Operations& operations, Clock::duration part);
  bool mayGoOn(ChannelNumber number, Peer& peer, Operations const& operations) const;
  bool isOver(ChannelNumber number, Peer& peer, Operations& operations);

  Pools& pools_;
  std::map<ChannelNumber, Peer> channels_;
  ChannelNumber next_ = kInput + 1;
  std::deque<ChannelNumber> fresh_;   // had nothing to say before
  std::deque<ChannelNumber> behind_;  // had more to say than their part, or have gone
  unsigned freshInARow_ = 0;
  bool moreToDrop_ = false;
};

}  // namespace Inlif
