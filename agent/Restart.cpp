#include "agent/Restart.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Vex/Trace.h"

namespace LoamAgent {
namespace {

using LoamInLif::kTables;

Vex::TraceHandle const trace("Restart");

}  // namespace

// Of one unit, not of all: a client that forgets a unit is what the limit is there to catch, and among many
// units that is a small part of the whole.
Pivot::Status Restart::checkLimit(std::optional<std::uint64_t> limit) const {
  if (!limit) return Pivot::Status::ok();
  for (std::size_t table = 0; table < kTables; ++table) {
    TableFront const& front = host_.front(table);
    for (Asic::UnitId unit : front.units()) {
      TableFront::SweepPlan const plan = front.sweepPlan(unit);
      std::uint64_t const all = plan.go + plan.stay;
      if (plan.go * 100 <= *limit * all) continue;
      return Pivot::Status::refused(fmt::format(
          "the sweep would remove {} of {} entries of {} unit {}, {} percent, which is more than the "
          "limit of {}; nothing was swept. A sweep with a higher limit lets them go",
          plan.go, all, front.info().name, unit, plan.go * 100 / all, *limit));
    }
  }
  return Pivot::Status::ok();
}

std::vector<Host::Swept> Restart::sweepNow() {
  ++sweeps_;
  return host_.sweep();
}

Pivot::Status Restart::sweep(std::optional<std::uint64_t> limit, std::vector<Host::Swept>& swept) {
  if (!clients_.any())
    return Pivot::Status::refused("no client is known; expected one that has said replayed");
  if (clients_.waitsForReplay()) {
    return Pivot::Status::refused(
        fmt::format("waits for {}; expected each known client to have said replayed",
                    fmt::join(clients_.withoutReplay(), ", ")));
  }
  Pivot::Status status = checkLimit(limit ? limit : options_.sweepLimit);
  if (status.isOk()) swept = sweepNow();
  return status;
}

Pivot::Status Restart::mayReconcile() const {
  if (!clients_.any())
    return Pivot::Status::refused("no client is known; expected one that has said unitsMade");
  std::vector<std::string> const waitsFor = clients_.withoutUnits();
  if (waitsFor.empty()) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("waits for {}; expected each known client to have said unitsMade",
                                            fmt::join(waitsFor, ", ")));
}

Pivot::Status Restart::reconcileUnit(UnitPlace const& place) {
  std::vector<std::string> const waitsFor = clients_.withoutUnits();
  Pivot::Status status = waitsFor.empty()
                             ? host_.reconcileUnit(place)
                             : Pivot::Status::refused(fmt::format(
                                   "waits for {}, which has come meanwhile; expected each known client to "
                                   "have said unitsMade",
                                   fmt::join(waitsFor, ", ")));
  if (!status.isOk())
    VEX_TRACE(trace, 1, "{} unit {} is not cleared: {}", place.tableName(), place.unit, status.message());
  return status;
}

void Restart::reconcileRest() {
  if (clients_.withoutUnits().empty()) host_.reconcile();
}

void Restart::mark(UnitPlace const& place) {
  host_.front(place.table).mark(place.unit);
  clients_.replayAgain();
}

Restart::Turn Restart::turn() {
  Turn turn;
  if (!clients_.waitsForReplay()) {
    waitingSince_.reset();
    alarmed_ = false;
  } else if (!waitingSince_) {
    waitingSince_ = Clock::now();
  } else if (!alarmed_ && Clock::now() >= nextDeadline()) {
    alarmed_ = true;
    turn.what = Turn::What::alarmed;
    turn.waitsFor = clients_.withoutReplay();
    VEX_TRACE(trace, 0, "no sweep after {} s: it waits for {}", options_.sweepAlarm.count(),
              fmt::join(turn.waitsFor, ", "));
  }
  if (!clients_.takeSweepDue()) return turn;
  Pivot::Status const status = checkLimit(options_.sweepLimit);
  if (status.isOk()) {
    turn.what = Turn::What::swept;
    turn.swept = sweepNow();
  } else {
    turn.what = Turn::What::refused;
    turn.refusal = status.message();
    VEX_TRACE(trace, 1, "{}", turn.refusal);
  }
  return turn;
}

Restart::Clock::time_point Restart::nextDeadline() const {
  if (!waitingSince_ || alarmed_ || options_.sweepAlarm.count() == 0) return Clock::time_point::max();
  return *waitingSince_ + options_.sweepAlarm;
}

}  // namespace LoamAgent
