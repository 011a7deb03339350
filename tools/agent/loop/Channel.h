// One stream of JSON lines: standard input and output, an input file, or a connection of the agent's socket.
//
// Nothing here waits, and no standard descriptor's flags are changed: other programs may share what it leads to.
// Whoever owns a channel says when it can be read or written again; what has come and what has not been taken is
// kept, and counted in the pools that all channels of an agent share. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/agent/loop/ByteQueue.h"
#include "tools/agent/operations/Limits.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

class Channel {
 public:
  static constexpr std::size_t kMostLine = 1 * kMiB;

  // `in` and `out` may be the same descriptor, and are closed with the channel when above 2. Of a standard one that
  // is a pipe or a terminal the channel opens a description of its own. Without pools, as a client has it, nothing
  // is limited but the line.
  Channel(int in, int out, Pools* pools = nullptr, std::size_t mostLine = kMostLine);
  ~Channel();
  Channel(Channel const&) = delete;
  Channel& operator=(Channel const&) = delete;

  int in() const { return in_; }
  int out() const { return out_; }
  // One descriptor for both ways.
  bool isSocket() const { return in_ == out_; }

  // Whether there may be something to read, or room to write: until a call finds that there is not, and again when
  // the owner says so.
  bool readable() const { return readable_ && !inputEnded_; }
  bool writable() const { return writable_; }
  void readableIs(bool readable) { readable_ = readable; }
  void writableAgain() { writable_ = true; }

  // Takes what can be read without waiting. After the end of the input, ended() is true once all lines have
  // been taken.
  void fill();
  bool inputEnded() const { return inputEnded_; }
  bool ended() const { return inputEnded_ && unread().empty(); }
  // Whether nextLine() may have one.
  bool mayHaveLine() const { return mayHaveLine_; }
  // The next line without its end, or false when there is no whole one. A line that is too long, for kMostLine or
  // for what the pool has left, gives its head, and `tooLong`. The view holds until the next call of fill().
  bool nextLine(std::string_view& line, bool& tooLong);
  // Gives the line that was taken last once more. REQUIRES: no fill() since.
  void putBack();
  std::size_t unreadBytes() const { return unread().size(); }

  void send(Json const& message);
  void sendText(std::string_view message);
  // Sends a line that every channel gets, with its end. A channel that is full misses it, and every such line until
  // it has taken half of what it may hold; then it is told how many it missed.
  void offer(std::string_view line);
  // Writes what the peer takes, until it takes no more. After a failure broken() is true.
  void flush();
  bool hasUnsent() const { return !broken_ && !outgoing_.empty(); }
  // Whether so much is unsent that nothing should be done that adds to it.
  bool isFull() const { return outgoing_.size() >= mostUnsent(); }
  // Whether so much is unsent that who has more at leisure does better to wait.
  bool isBusy() const { return outgoing_.size() >= std::min(mostUnsent(), kMuchUnsent); }
  // The peer takes nothing any more: what is sent is dropped from now on. What it said before is still to be read.
  void peerGone();
  // Drops so many blocks at most of what a peer that has gone did not take, and counts them down. Whether none is left.
  bool dropUnsent(std::size_t& blocks);
  bool broken() const { return broken_; }

 private:
  static constexpr std::size_t kMuchUnsent = 1 * kMiB;

  std::string_view unread() const { return std::string_view(incoming_).substr(taken_); }
  std::size_t mostUnread() const;
  std::size_t mostUnsent() const { return pools_ ? pools_->output.ofOne() : SIZE_MAX; }
  void queue(std::string_view text);
  ssize_t writeSome(std::string_view text) const;
  void tellMissed();
  void tidy();
  void count();

  int in_;
  int out_;
  Pools* const pools_;
  std::size_t const mostLine_;
  std::string incoming_;
  std::size_t taken_ = 0;     // bytes of incoming_ that were given out as lines
  std::size_t scanned_ = 0;   // bytes of incoming_ that hold no line end
  std::size_t lastLine_ = 0;  // where the line begins that was given out last
  ByteQueue outgoing_;
  std::size_t missed_ = 0;     // lines for everybody that this channel had no room for
  std::size_t countedIn_ = 0;  // as the pools have it
  std::size_t countedOut_ = 0;
  bool readable_ = true;
  bool writable_ = true;
  bool mayHaveLine_ = false;
  bool inputEnded_ = false;
  bool skipping_ = false;  // inside a line that was too long
  bool broken_ = false;
};

}  // namespace Inlif
