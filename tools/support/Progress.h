// How far long work has come: one line on standard error, where that is a terminal, written over as the work goes on
// and taken away at its end. Elsewhere nothing is said.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace Inlif {

class Progress {
 public:
  // "DOING: 1200 of 65536 THINGS, 1 %, 3 s"; without `of` the work has no known end. Work whose things nobody counts
  // shows as "DOING, 3 s".
  explicit Progress(std::string doing) : Progress(std::move(doing), {}) {}
  Progress(std::string doing, std::string things, std::uint64_t of = 0);
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  // Whether anybody sees it: what must be found out for the line alone need not be otherwise.
  bool isShown() const { return isTerminal_; }
  void ofIs(std::uint64_t of) { of_ = of; }
  // Costs next to nothing: the line is written a few times a second.
  void at(std::uint64_t count) {
    if (isTerminal_) show(count);
  }

 private:
  using Clock = std::chrono::steady_clock;

  void show(std::uint64_t count);

  std::string const doing_;
  std::string const things_;
  std::uint64_t of_;
  bool const isTerminal_;
  bool isWritten_ = false;
  Clock::time_point const begin_ = Clock::now();
  Clock::time_point shown_ = begin_;  // work that is done at once shows nothing
};

}  // namespace Inlif
