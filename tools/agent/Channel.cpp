#include "tools/agent/Channel.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Inlif {
namespace {

constexpr std::size_t kReadStep = std::size_t{64} << 10;

void makeNonBlocking(int fd) {
  int const flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

}  // namespace

Channel::Channel(int in, int out) : in_(in), out_(out) {
  if (in_ > STDERR_FILENO) makeNonBlocking(in_);
  if (out_ > STDERR_FILENO) makeNonBlocking(out_);
}

Channel::~Channel() {
  if (in_ > STDERR_FILENO) close(in_);
  if (out_ > STDERR_FILENO && out_ != in_) close(out_);
}

void Channel::fill() {
  if (inputEnded_) return;
  if (taken_ > 0) {
    incoming_.erase(0, taken_);
    scanned_ -= std::min(scanned_, taken_);
    taken_ = 0;
  }
  std::size_t const old = incoming_.size();
  incoming_.resize(old + kReadStep);
  ssize_t const count = read(in_, incoming_.data() + old, kReadStep);
  incoming_.resize(old + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  if (count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR))) return;
  // A last line without an end is a line all the same.
  if (!inputEnded_ && !incoming_.empty() && incoming_.back() != '\n') incoming_ += '\n';
  inputEnded_ = true;
}

bool Channel::nextLine(std::string_view& line, bool& tooLong) {
  for (;;) {
    auto const end = incoming_.find('\n', std::max(scanned_, taken_));
    if (end == std::string::npos) {
      scanned_ = incoming_.size();
      if (skipping_) {
        taken_ = incoming_.size();
        return false;
      }
      if (unread().size() <= kMostLine) return false;
      line = unread().substr(0, 60);
      taken_ = incoming_.size();
      skipping_ = tooLong = true;
      return true;
    }
    line = std::string_view(incoming_).substr(taken_, end - taken_);
    taken_ = scanned_ = end + 1;
    bool const restOfLong = skipping_;
    skipping_ = false;
    if (restOfLong) continue;
    if (line.ends_with('\r')) line.remove_suffix(1);
    tooLong = line.size() > kMostLine;
    if (tooLong) line = line.substr(0, 60);
    return true;
  }
}

void Channel::send(Json const& message) {
  if (broken_) return;
  if (outgoing_.size() - sent_ > kMostUnsent) return hangUp();
  if (sent_ > outgoing_.size() / 2) {
    outgoing_.erase(0, sent_);
    sent_ = 0;
  }
  outgoing_ += message.dump(-1, ' ', false, Json::error_handler_t::replace);
  outgoing_ += '\n';
}

void Channel::flush() {
  while (!broken_ && hasUnsent()) {
    ssize_t const count = write(out_, outgoing_.data() + sent_, outgoing_.size() - sent_);
    if (count >= 0) {
      sent_ += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR) {
      // What the peer said before it went is still to be read.
      broken_ = true;
    }
  }
  if (!hasUnsent()) {
    outgoing_.clear();
    sent_ = 0;
  }
}

}  // namespace Inlif
