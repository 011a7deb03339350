// For how long the oldest version has been announced that the writer of the hardware has not reported.
//
// The agent's turns tell it how far both are. It keeps a few moments with the version that was announced then; where they
// grow many, every second one goes, so that an age is right to a thirtieth however old it is. On the agent's one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace LoamAgent {

class Backlog {
 public:
  using Clock = std::chrono::steady_clock;

  void look(std::uint64_t announced, std::uint64_t reported, Clock::time_point now);
  // Zero when everything is reported, as far as it has looked.
  Clock::duration age(Clock::time_point now) const;

 private:
  struct Moment {
    std::uint64_t announced;
    Clock::time_point at;
  };
  static constexpr std::size_t kMostMoments = 64;

  // Ascending in both; the first is the oldest that is not reported.
  std::vector<Moment> moments_;
  Clock::duration step_ = kLeastStep;
  static constexpr Clock::duration kLeastStep = std::chrono::milliseconds(1);
};

}  // namespace LoamAgent
