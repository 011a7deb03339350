// What `inlif top` shows, at one moment: figures of the store, and of the agent what it alone knows.
#pragma once

#include <chrono>
#include <string>

#include "tools/json/Json.h"

namespace Inlif {

// Takes figures again and again; rates are those since the time before.
class TopFigures {
 public:
  explicit TopFigures(std::string store) : store_(std::move(store)) {}

  // `time`, `agent` and `writer` (as everywhere), `tables`, `units`, and of an agent that answers `queued` and `causes`, as
  // `why` has them. Collections are not walked, so that it costs the same whatever stands in them.
  Json take();

 private:
  using Clock = std::chrono::steady_clock;

  void addTables(Json& figures, double seconds);
  void askAgent(Json& figures) const;

  std::string const store_;
  Json lastTables_;
  Clock::time_point lastTime_;
};

}  // namespace Inlif
