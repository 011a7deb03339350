// The interfaces of a configuration whose last operation failed, and what is told of them: soon, in one line for many,
// and with the first of them by name.
//
// The configuration client owns one and says what ends how. On the agent's one thread.
#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/agent/operations/Outlet.h"
#include "tools/config/InterfaceMapping.h"

namespace Inlif {

class ConfigFailures {
 public:
  using Clock = std::chrono::steady_clock;

  // Names of interfaces that a line or an event holds, and a status of each table.
  static constexpr std::size_t kMostNamed = 10;

  void add(EntryPlace const& place);
  void erase(EntryPlace const& place) { places_.erase(place); }
  std::size_t size() const { return places_.size(); }
  std::vector<EntryPlace> places() const { return {places_.begin(), places_.end()}; }

  // For each table that has some: `table`, `count`, and as `first` the names of the first of them.
  Json json(WantedInterfaces const& wanted) const;

  // Tells on the standard error output and to every channel what has failed since it told last, once nothing is under
  // way any more or a second after the first of it.
  void turn(std::string const& file, WantedInterfaces const& wanted, bool underWay, Outlet& outlet);
  // When there is something to tell; the far future without.
  Clock::time_point nextDeadline() const { return tellAt_.value_or(Clock::time_point::max()); }

 private:
  std::set<EntryPlace> places_;
  std::vector<EntryPlace> untold_;  // the first kMostNamed
  std::size_t untoldCount_ = 0;
  std::optional<Clock::time_point> tellAt_;
};

}  // namespace Inlif
