#include "tools/agent/loop/Channel.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Vex/NoWait.h"

namespace Inlif {
namespace {

constexpr std::size_t kReadStep = 64 * kKiB;
// Buffers up to this size are kept when they are empty.
constexpr std::size_t kKeptBuffer = 4 * kKiB;

void makeNonBlocking(int fd) {
  int const flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

int ownDescriptor(int fd, int access) {
  if (fd <= STDERR_FILENO) {
    int const own = Vex::openedNotToWait(fd, access);
    return own >= 0 ? own : fd;
  }
  makeNonBlocking(fd);
  return fd;
}

}  // namespace

Channel::Channel(int in, int out, Pools* pools, std::size_t mostLine)
    : in_(ownDescriptor(in, O_RDONLY)),
      out_(in == out ? in_ : ownDescriptor(out, O_WRONLY)),
      pools_(pools),
      mostLine_(mostLine) {}

Channel::~Channel() {
  std::string().swap(incoming_);  // an assignment would keep the buffer
  std::size_t all = SIZE_MAX;
  outgoing_.drop(all);
  count();
  if (in_ > STDERR_FILENO) close(in_);
  if (out_ > STDERR_FILENO && out_ != in_) close(out_);
}

// One line with its end.
std::size_t Channel::mostUnread() const {
  std::size_t const most = mostLine_ + 1;
  return pools_ ? std::min(most, pools_->input.ofOne()) : most;
}

void Channel::count() {
  if (!pools_) return;
  pools_->input.change(countedIn_, incoming_.capacity());
  pools_->output.change(countedOut_, outgoing_.size());
  countedIn_ = incoming_.capacity();
  countedOut_ = outgoing_.size();
}

// Makes room in front. What is left is moved only when it is less than what was given out, so a byte is not moved
// again and again.
void Channel::tidy() {
  if (taken_ < incoming_.size() - taken_) return;
  if (taken_ == incoming_.size() && incoming_.capacity() > kKeptBuffer)
    std::string().swap(incoming_);
  else
    incoming_.erase(0, taken_);
  scanned_ -= std::min(scanned_, taken_);
  taken_ = lastLine_ = 0;
}

void Channel::fill() {
  if (inputEnded_) return;
  tidy();
  std::size_t const most = mostUnread();
  std::size_t const have = unread().size();
  if (have >= most) {
    mayHaveLine_ = true;  // one that is too long
    return;
  }
  static thread_local char step[kReadStep];
  std::size_t const size = std::min(most - have, kReadStep);
  ssize_t const count = in_ > STDERR_FILENO ? read(in_, step, size) : Vex::readNotToWait(in_, step, size);
  if (count > 0) {
    incoming_.append(step, static_cast<std::size_t>(count));
    mayHaveLine_ = true;
  } else if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
    readable_ = errno == EINTR;
  } else {
    // A last line without an end is a line all the same.
    if (!unread().empty() && incoming_.back() != '\n') incoming_ += '\n';
    inputEnded_ = mayHaveLine_ = true;
  }
  this->count();
}

bool Channel::nextLine(std::string_view& line, bool& tooLong) {
  for (;;) {
    lastLine_ = taken_;
    auto const end = incoming_.find('\n', std::max(scanned_, taken_));
    if (end == std::string::npos) {
      scanned_ = incoming_.size();
      bool const tooMuch = unread().size() >= mostUnread();
      if (skipping_ || tooMuch) taken_ = incoming_.size();
      if (!skipping_ && tooMuch) {
        line = std::string_view(incoming_).substr(lastLine_, 60);
        skipping_ = tooLong = true;
        return true;
      }
      mayHaveLine_ = false;
      tidy();
      count();
      return false;
    }
    line = std::string_view(incoming_).substr(taken_, end - taken_);
    taken_ = scanned_ = end + 1;
    mayHaveLine_ = taken_ < incoming_.size();
    bool const restOfLong = skipping_;
    skipping_ = false;
    if (restOfLong) continue;
    if (line.ends_with('\r')) line.remove_suffix(1);
    tooLong = line.size() > mostLine_;
    if (tooLong) line = line.substr(0, 60);
    return true;
  }
}

void Channel::putBack() {
  taken_ = scanned_ = lastLine_;
  mayHaveLine_ = true;
  skipping_ = false;
}

void Channel::queue(std::string_view text) {
  if (broken_) return;
  outgoing_.append(text);
  count();
}

void Channel::send(Json const& message) {
  if (!broken_) sendText(jsonText(message));
}

void Channel::sendText(std::string_view message) {
  if (broken_) return;
  outgoing_.append(message);
  queue("\n");
}

void Channel::offer(std::string_view line) {
  if (missed_ > 0 || isFull())
    ++missed_;
  else
    queue(line);
}

void Channel::tellMissed() {
  if (missed_ == 0 || outgoing_.size() > mostUnsent() / 2) return;
  queue(fmt::format("{{\"event\":\"missed\",\"events\":{}}}\n", missed_));
  missed_ = 0;
}

// A peer that is gone is an outcome (EPIPE), and no signal that ends who holds the connection.
ssize_t Channel::writeSome(std::string_view text) const {
  if (isSocket()) return ::send(out_, text.data(), text.size(), MSG_NOSIGNAL);
  return out_ > STDERR_FILENO ? write(out_, text.data(), text.size())
                              : Vex::writeNotToWait(out_, text.data(), text.size());
}

void Channel::flush() {
  for (writable_ = true; writable_ && hasUnsent();) {
    std::string_view const next = outgoing_.front();
    ssize_t const count = writeSome(next);
    if (count >= 0)
      outgoing_.take(static_cast<std::size_t>(count));
    else if (errno == EAGAIN)
      writable_ = false;
    else if (errno != EINTR)
      peerGone();
    tellMissed();
  }
  count();
}

void Channel::peerGone() {
  broken_ = true;
  missed_ = 0;
}

bool Channel::dropUnsent(std::size_t& blocks) {
  bool const isEmpty = outgoing_.drop(blocks);
  count();
  return isEmpty;
}

}  // namespace Inlif
