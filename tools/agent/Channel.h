// One stream of JSON lines: standard input and output, an input file, or a connection of the agent's socket.
//
// The event loop owns the channels and calls them on the agent's thread. Output is kept until the peer takes
// it, so that a slow reader never stops the agent; a peer that lets more than kMostUnsent bytes pile up is
// cut off rather than let the agent grow without bound.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/json/ObjectReader.h"

namespace Inlif {

class Channel {
 public:
  static constexpr std::size_t kMostLine = std::size_t{1} << 20;
  static constexpr std::size_t kMostUnsent = std::size_t{256} << 20;
  static constexpr std::size_t kMuchUnsent = std::size_t{1} << 20;

  // `in` and `out` may be the same descriptor, and are closed with the channel when above 2. Such a
  // descriptor is set not to block; the standard ones are left as they are, since other programs may share
  // them: the event loop reads them when they have something.
  Channel(int in, int out);
  ~Channel();
  Channel(Channel const&) = delete;
  Channel& operator=(Channel const&) = delete;

  int in() const { return in_; }
  int out() const { return out_; }
  bool isSocket() const { return in_ == out_; }

  // Takes what can be read without waiting. After the end of the input, ended() is true once all lines have
  // been taken.
  void fill();
  // The peer has gone, or is given up: what is sent is dropped from now on, and nothing more is read.
  void hangUp() { broken_ = inputEnded_ = true; }
  bool inputEnded() const { return inputEnded_; }
  bool ended() const { return inputEnded_ && unread().empty(); }
  // The next line without its end, or false when there is no whole one. A line longer than kMostLine gives
  // its head, and `tooLong`. The view holds until the next call of fill().
  bool nextLine(std::string_view& line, bool& tooLong);

  void send(Json const& message);
  // Writes what the peer takes. After a failure broken() is true, and what is sent is dropped.
  void flush();
  bool hasUnsent() const { return !broken_ && sent_ < outgoing_.size(); }
  // Whether more than kMuchUnsent bytes wait for the peer.
  bool isFull() const { return !broken_ && outgoing_.size() - sent_ > kMuchUnsent; }
  bool broken() const { return broken_; }

 private:
  std::string_view unread() const { return std::string_view(incoming_).substr(taken_); }

  int in_;
  int out_;
  std::string incoming_;
  std::size_t taken_ = 0;    // bytes of incoming_ that were given out as lines
  std::size_t scanned_ = 0;  // bytes of incoming_ that hold no line end
  std::string outgoing_;
  std::size_t sent_ = 0;
  bool inputEnded_ = false;
  bool skipping_ = false;  // inside a line that was too long
  bool broken_ = false;
};

}  // namespace Inlif
