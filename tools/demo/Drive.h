// Drives the generated work through an agent: keeps a window of operations under way, follows how each of
// them ends, and has the writer killed at random moments. Keeps the figures that the demo prints and the
// wishes that it compares with.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <vector>

#include "tools/demo/Comparison.h"
#include "tools/demo/Stage.h"
#include "tools/workload/Workload.h"

namespace Inlif {

struct DriveFigures {
  std::size_t operations = 0;
  std::size_t done = 0;
  std::size_t failed = 0;
  std::size_t surprises = 0;  // operations that ended otherwise than they should
  std::size_t writerKills = 0;
  double seconds = 0;
  std::vector<double> acknowledgeSeconds;  // from the write to its acknowledgement
};

class Drive {
 public:
  // `kills` moments are drawn from `seed`. Both references outlive the drive.
  Drive(Stage& stage, Workload const& workload, std::size_t kills, std::uint64_t seed);

  // Refused when the agent refuses an operation or a process ends; returns when every operation has ended and
  // nothing is pending.
  Pivot::Status run();
  DriveFigures const& figures() const { return figures_; }
  // What the client wants in the end: the operations that did not fail, in order.
  Wishes wishes() const;

 private:
  using Clock = std::chrono::steady_clock;
  enum class State : std::uint8_t { unsent, underWay, done, failed };
  struct Progress {
    State state = State::unsent;
    Clock::time_point sent;
  };

  void sendNext();
  Pivot::Status take(Json const& message);
  Pivot::Status maybeKill();
  void showProgress(bool last);
  std::size_t ended() const { return figures_.done + figures_.failed; }

  Stage& stage_;
  Workload const& workload_;
  std::deque<std::size_t> killsAt_;  // numbers of ended operations, ascending
  std::vector<Progress> progress_;   // by place in the operations
  std::size_t next_ = 0;
  DriveFigures figures_;
  Clock::time_point shown_;
  bool terminal_;
};

}  // namespace Inlif
