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
  // `why` has them. Entries are counted only where no agent tells their number; beside one it costs the same whatever stands
  // in the store.
  Json take();

 private:
  using Clock = std::chrono::steady_clock;

  void addTables(Json& figures, double seconds);
  // Whether it has told all that is shown of it.
  bool askAgent(Json& figures) const;

  std::string const store_;
  Json lastTables_;
  Clock::time_point lastTime_;
};

}  // namespace Inlif
