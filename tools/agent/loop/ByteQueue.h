// Bytes that wait to be written: added behind, taken in front, in blocks that go as they are taken, so that a long
// backlog takes little more memory than it has bytes.
//
// Giving a block back to the kernel may take half a millisecond on a virtual machine. So some that were taken are kept
// for the queues of the process, and a backlog that nobody wants any more is dropped a few blocks at a time. One thread.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace Inlif {

class ByteQueue {
 public:
  void append(std::string_view text) {
    if (blocks_.empty() || blocks_.back().size() + text.size() > kBlock) {
      blocks_.push_back(blocks_.empty() ? std::string() : newBlock());
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
    dropFirst();
  }
  // Drops so many blocks from the front, with what they hold, and counts them down. Whether none is left.
  bool drop(std::size_t& blocks) {
    for (; !blocks_.empty() && blocks > 0; --blocks) {
      size_ -= blocks_.front().size() - taken_;
      dropFirst();
    }
    return blocks_.empty();
  }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 private:
  static constexpr std::size_t kBlock = std::size_t{64} << 10;
  static constexpr std::size_t kMostSpare = 16;

  static std::string newBlock() {
    std::string block;
    if (!spare_.empty()) {
      block = std::move(spare_.back());
      spare_.pop_back();
    }
    block.clear();
    block.reserve(kBlock);
    return block;
  }
  void dropFirst() {
    if (blocks_.front().capacity() >= kBlock && spare_.size() < kMostSpare)
      spare_.push_back(std::move(blocks_.front()));
    blocks_.pop_front();
    taken_ = 0;
  }

  static inline std::deque<std::string> spare_;
  std::deque<std::string> blocks_;
  std::size_t taken_ = 0;  // of the first block
  std::size_t size_ = 0;
};

}  // namespace Inlif
