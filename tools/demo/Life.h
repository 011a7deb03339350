// What a client does with an agent that was started again, in order: it registers, has its units made, writes
// everything again, says so, and has the rest swept and cleared. Demo and torture go through these steps; a
// kill may end each of them.
#pragma once

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/demo/Drive.h"
#include "tools/workload/Workload.h"

namespace Inlif {

// Table and unit.
using UnitPlace = std::pair<std::size_t, Asic::UnitId>;

struct LifeFigures {
  std::size_t restored = 0;   // entries with which the units came up
  std::size_t rewritten = 0;  // writes of the second writing
  std::size_t identical = 0;  // of these, identical to what stood, and not published again
  std::size_t failed = 0;     // of these, failed as they should
  std::size_t records = 0;    // records that the second writing cost
  std::size_t swept = 0;      // entries removed, since nobody wrote them again
  std::size_t cleared = 0;    // entries of units that nobody served again
  double secondsToServe = 0;  // from the start of the process until all units were made
};

// What an agent's status tells of all its units.
struct AgentCounts {
  std::size_t records = 0;
  std::size_t identical = 0;  // writes suppressed
  std::size_t setAside = 0;

  static AgentCounts of(Json const& status);
};

// As which a demo registers.
inline constexpr char const* kDemoClient = "demo";

class Life {
 public:
  // `clientName` is the name under which the client is known over all lives; `units` are those it serves.
  Life(Stage& stage, Wants& wants, std::string clientName, std::set<UnitPlace> units);

  // Starts what does not run; then waits for the connection.
  Pivot::Status start();
  Pivot::Status connect();
  // Registers and makes the units. `preparation` steers what must be so before anything is written.
  Pivot::Status makeUnits(std::vector<Json> const& preparation);
  // Writes all wants again and waits for every end.
  Pivot::Status writeAgain();
  // Says that all has been written again and waits for the sweep.
  Pivot::Status sweep();
  // Has the units cleared that are not served.
  Pivot::Status reconcile();
  // Records published so far, over all tables.
  Pivot::Status records(std::size_t& count);
  // Those operations that concern units served.
  std::vector<Json> served(std::vector<Json> const& operations) const;

  // REQUIRES: connect() was ok.
  Drive& drive() { return *drive_; }
  bool connected() const { return drive_ != nullptr; }
  LifeFigures const& figures() const { return figures_; }
  std::set<UnitPlace> const& units() const { return units_; }

 private:
  Pivot::Status countsOf(AgentCounts& counts);
  Pivot::Status say(char const* op);

  Stage& stage_;
  Wants& wants_;
  std::string clientName_;
  std::set<UnitPlace> units_;
  std::unique_ptr<Drive> drive_;
  LifeFigures figures_;
  std::chrono::steady_clock::time_point started_;
};

// The units of a generated work.
std::set<UnitPlace> unitsOf(WorkloadShape const& shape);

}  // namespace Inlif
