// What the manager of services hears of an agent or a writer that it has started: that it is ready, that it goes on, that it
// ends. Where none has, and in a build without its library, nothing happens. One thread.
#pragma once

#include <chrono>
#include <string>

namespace Inlif {

class Service {
 public:
  Service();

  // Who waits for the service may go on; `state` is what the manager shows beside it.
  void isReady(std::string const& state);
  // For each turn of a loop, at least each second: keeps the manager's watchdog away. Costs next to nothing.
  void goesOn();
  void ends();

 private:
  using Clock = std::chrono::steady_clock;

  Clock::duration interval_{};  // between two signs; zero: nobody watches
  Clock::time_point next_;
};

}  // namespace Inlif
