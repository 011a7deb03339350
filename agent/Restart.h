// What an agent does after its restart, once its clients have spoken: the sweep, by itself or when asked; the clearing of
// units that nobody has made; and the brake of both.
//
// An agent owns one beside its host, gives it a turn after the host's, and tells its clients what has come of that. On the
// agent's one thread.
//
// S1. Nothing is swept while a known client has not said `replayed`, whatever the time: the alarm only tells.
// S2. A limit is checked with a plan that was made in the same turn, so what is refused or let go is what the
//     sweep does.
// S3. A unit is cleared only when each known client has said `unitsMade`, and at least one is known.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/Host.h"
#include "agent/RestartClients.h"

namespace LoamAgent {

class Restart {
 public:
  using Clock = Host::Clock;

  // What holds a sweep back, and when an alarm is raised.
  struct Options {
    std::optional<std::uint64_t>
        sweepLimit;  // percent of a unit's entries; a sweep that would remove more is refused
    std::chrono::seconds sweepAlarm{300};  // none: no alarm
  };
  // What a turn has done, if anything.
  struct Turn {
    enum class What { nothing, alarmed, refused, swept };
    What what = What::nothing;
    std::vector<std::string> waitsFor;  // alarmed: the clients that have not said `replayed`
    std::string refusal;                // refused: why nothing was swept
    std::vector<Host::Swept> swept;
  };

  // `host` outlives it.
  Restart(Host& host, Options const& options) : host_(host), options_(options) {}

  // What the clients say goes there.
  RestartClients& clients() { return clients_; }
  RestartClients const& clients() const { return clients_; }

  // Sweeps now. Refused while a client is waited for (S1), or by the limit, in percent; none given, that of the options.
  // The removes are queued when this returns, and committed in the turns that follow.
  Pivot::Status sweep(std::optional<std::uint64_t> limit, std::vector<Host::Swept>& swept);
  // Whether units may be cleared (S3).
  Pivot::Status mayReconcile() const;
  // Clears a unit that nobody has made; refused by S3, when a client has come since mayReconcile(), and for the host's
  // reasons.
  Pivot::Status reconcileUnit(UnitPlace const& place);
  // Ends a reconciliation: the interfaces themselves go over what is left, which are units that cannot be mounted. Does
  // nothing while a client is waited for.
  void reconcileRest();
  // Begins to mark what is written to a unit. What was written before does not count, so nobody has finished any more.
  // REQUIRES: the unit has a table.
  void mark(UnitPlace const& place);

  // Does the sweep that has become due, and raises the alarm.
  Turn turn();
  // When the alarm is due; the far future when nobody is waited for, or it has been raised.
  Clock::time_point nextDeadline() const;

  // Sweeps of this life.
  std::uint64_t sweeps() const { return sweeps_; }
  // Whether the alarm has been raised and somebody is still waited for.
  bool alarmed() const { return alarmed_; }

 private:
  Pivot::Status checkLimit(std::optional<std::uint64_t> limit) const;
  std::vector<Host::Swept> sweepNow();

  Host& host_;
  Options const options_;
  RestartClients clients_;
  std::optional<Clock::time_point> waitingSince_;  // somebody has been waited for since then
  bool alarmed_ = false;
  std::uint64_t sweeps_ = 0;
};

}  // namespace LoamAgent
