// What a sweep or a reconciliation would do, found out without doing it, one entry in a step: so that a loop can go on
// between two steps, however much there is to look at.
//
// A walk begins with the units that there are then; what changes while it rests, it may tell of or not. `host` outlives a
// walk. On the agent's one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "agent/Host.h"

namespace LoamAgent {

enum class PlanStep {
  goesOn,
  unit,  // all of a unit has been looked at: what is told is of this one
  end
};

// Goes through the units that have a table, in order: what goes with a sweep and what stays.
class SweepPlanWalk {
 public:
  explicit SweepPlanWalk(Host& host);

  PlanStep step();
  UnitPlace const& place() const { return place_; }
  TableFront::SweepPlan const& plan() const { return plan_; }

 private:
  Host& host_;
  std::vector<UnitPlace> left_;  // the present one last
  std::unique_ptr<TableFront::SweepWalk> walk_;
  UnitPlace place_;
  TableFront::SweepPlan plan_;
};

// Goes through the units that nobody has made, in order, and counts their live entries.
class UnservedWalk {
 public:
  explicit UnservedWalk(Host& host);
  ~UnservedWalk();

  // One that somebody makes meanwhile is passed over.
  PlanStep step();
  UnitPlace const& place() const { return place_; }
  // Absent when they cannot be read.
  std::optional<std::uint64_t> entries() const { return entries_; }

 private:
  class Count;

  Host& host_;
  std::vector<UnitPlace> left_;  // the present one last
  std::unique_ptr<Count> count_;
  UnitPlace place_;
  std::optional<std::uint64_t> entries_;
};

}  // namespace LoamAgent
