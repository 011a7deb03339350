// How old the backlog of the writer of the hardware is: the time since the oldest version was announced that it has not
// reported.
//
// The agent's turns tell it how far both are. It keeps moments, each with the version announced then. When they grow
// many it drops every second one, so that an age, however great, is right to a thirtieth. On the agent's one thread.
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
