// Bytes that wait to be written: added behind, taken in front, in blocks that are freed as they are taken, so that
// a long backlog takes little more memory than it has bytes.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace Inlif {

class ByteQueue {
 public:
  void append(std::string_view text) {
    if (blocks_.empty() || blocks_.back().size() + text.size() > kBlock) {
      bool const behind = !blocks_.empty();
      blocks_.emplace_back();
      if (behind) blocks_.back().reserve(kBlock);
    }
    blocks_.back() += text;
    size_ += text.size();
  }
  // The bytes in front, as many as lie together; empty when there are none.
  std::string_view front() const {
    return blocks_.empty() ? std::string_view() : std::string_view(blocks_.front()).substr(taken_);
  }
  // REQUIRES: at most as many as front() has.
  void take(std::size_t count) {
    taken_ += count;
    size_ -= count;
    if (blocks_.empty() || taken_ < blocks_.front().size()) return;
    blocks_.pop_front();
    taken_ = 0;
  }
  void clear() { *this = ByteQueue(); }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 private:
  static constexpr std::size_t kBlock = std::size_t{64} << 10;

  std::deque<std::string> blocks_;
  std::size_t taken_ = 0;  // of the first block
  std::size_t size_ = 0;
};

}  // namespace Inlif
