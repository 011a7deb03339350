// When a line that comes again and again is printed, and when it is only counted.
//
// One of these belongs to one kind of line. In a window of time the first lines are printed, each text once; the rest
// is held back and told with its number when the window is over. A kind that was held back prints nothing of its own in
// the windows that follow, only its numbers, until one passes without it: so a fault that lasts costs one line a
// window, however often it comes. The caller has the clock and the lock.
#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

namespace Vex {

class LineFold {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Limit {
    unsigned lines = 10;  // of a window
    std::chrono::seconds window{10};
  };

  // What was held back in a window that is over, or 0. To be asked before admits(), and now and then.
  std::uint64_t due(Time now, Limit const& limit) {
    if (now < windowEnd_ || held_ == 0) return 0;
    windowEnd_ = now + limit.window;
    printed_ = limit.lines;
    return std::exchange(held_, 0);
  }
  // Whether a line with this text is printed now.
  bool admits(std::uint64_t text, Time now, Limit const& limit) {
    if (now >= windowEnd_) {
      windowEnd_ = now + limit.window;
      printed_ = 0;
    }
    bool const prints = printed_ < limit.lines && (printed_ == 0 || text != lastText_);
    if (prints) {
      ++printed_;
      lastText_ = text;
    } else {
      ++held_;
    }
    return prints;
  }
  std::uint64_t held() const { return held_; }

 private:
  Time windowEnd_{};
  unsigned printed_ = 0;
  std::uint64_t held_ = 0;
  std::uint64_t lastText_ = 0;
};

}  // namespace Vex
