#include "tools/agent/RestartOperations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Vex/Trace.h"
#include "tools/agent/RestartAnswers.h"

namespace Inlif {
namespace {

Vex::TraceHandle const trace("Restart");

}  // namespace

RestartOperations::Name const RestartOperations::kNames[] = {
    {"client", &RestartOperations::client},       {"unitsMade", &RestartOperations::unitsMade},
    {"replayed", &RestartOperations::replayed},   {"sweep", &RestartOperations::sweep},
    {"reconcile", &RestartOperations::reconcile}, {"mark", &RestartOperations::mark}};

bool RestartOperations::execute(std::string_view name, SteppedAnswer::Asker const& asker, ObjectReader& in,
                                Result& result) {
  for (Name const& known : kNames) {
    if (name != known.name) continue;
    (this->*known.doing)(asker, in, result);
    return true;
  }
  return false;
}

// ---- who is there

void RestartOperations::client(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  std::string const name(in.text("name"));
  bool const forget = in.booleanOr("forget", false);
  if (!in.finish().isOk()) return;
  Pivot::Status const status = forget ? clients_.forget(name) : clients_.add(name);
  if (!status.isOk()) return in.refuse(status.message());
  if (forget)
    std::erase_if(speakers_, [&](auto const& speaker) { return speaker.second == name; });
  else
    speakers_[asker.channel] = name;
  result.members["clients"] = clients_.json();
}

void RestartOperations::say(Pivot::Status (RestartClients::*what)(std::string const&),
                            SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  std::string const name(in.text("client"));
  if (!in.finish().isOk()) return;
  Pivot::Status const status = (clients_.*what)(name);
  if (!status.isOk()) return in.refuse(status.message());
  speakers_[asker.channel] = name;
  result.members["clients"] = clients_.json();
}

void RestartOperations::unitsMade(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  say(&RestartClients::unitsMadeIs, asker, in, result);
}

void RestartOperations::replayed(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  say(&RestartClients::replayedIs, asker, in, result);
}

void RestartOperations::markingUnitMade(ChannelNumber channel) {
  auto const speaker = speakers_.find(channel);
  if (speaker != speakers_.end()) clients_.replayAgain(speaker->second);
}

// ---- sweep

// Of one unit, not of all: a client that forgets a unit is what the limit is there to catch, and among many
// units that is a small part of the whole.
Pivot::Status RestartOperations::limitCheck(std::optional<std::uint64_t> limit) const {
  if (!limit) return Pivot::Status::ok();
  for (std::size_t table = 0; table < kTables; ++table) {
    for (Asic::UnitId unit : host_.front(table).units()) {
      TableFront::SweepPlan const plan = host_.front(table).sweepPlan(unit);
      std::uint64_t const all = plan.go + plan.stay;
      if (plan.go * 100 <= *limit * all) continue;
      return Pivot::Status::refused(fmt::format(
          "the sweep would remove {} of {} entries of {} unit {}, {} percent, which is more than the "
          "limit of {}; nothing was swept. A sweep with a higher limit lets them go",
          plan.go, all, tables()[table].name, unit, plan.go * 100 / all, *limit));
    }
  }
  return Pivot::Status::ok();
}

// The removes are queued when this returns, and committed in the turns that follow.
Json RestartOperations::sweepNow() {
  Json swept = Json::array();
  for (Host::Swept const& one : host_.sweep()) {
    Json unit = placeJson(one.place);
    unit.update({{"removed", one.removed}, {"kept", one.kept}});
    swept.push_back(std::move(unit));
  }
  ++sweeps_;
  outlet_.broadcast({{"event", "swept"}, {"tables", swept}});
  return swept;
}

void RestartOperations::sweep(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  bool const plan = in.booleanOr("plan", false);
  std::optional<std::uint64_t> limit = options_.sweepLimit;
  if (in.has("limit")) limit = in.number("limit", 100);
  if (!in.finish().isOk()) return;
  if (plan) {
    result.answer = sweepPlanAnswer(asker, host_, clients_);
    return;
  }
  if (!clients_.any()) return in.refuse("no client is known; expected one that has said replayed");
  if (clients_.waitsForReplay()) {
    return in.refuse(fmt::format("waits for {}; expected each known client to have said replayed",
                                 fmt::join(clients_.withoutReplay(), ", ")));
  }
  Pivot::Status const status = limitCheck(limit);
  if (!status.isOk()) return in.refuse(status.message());
  result.members["tables"] = sweepNow();
}

bool RestartOperations::turn() {
  if (!clients_.waitsForReplay()) {
    waitingSince_.reset();
    alarmed_ = false;
  } else if (!waitingSince_) {
    waitingSince_ = Clock::now();
  } else if (!alarmed_ && Clock::now() >= nextDeadline()) {
    alarmed_ = true;
    std::vector<std::string> const names = clients_.withoutReplay();
    VEX_TRACE(trace, 0, "no sweep after {} s: it waits for {}", options_.sweepAlarm.count(),
              fmt::join(names, ", "));
    outlet_.broadcast({{"event", "sweepAlarm"}, {"waitingFor", names}});
  }
  if (!clients_.sweepDueTake()) return false;
  Pivot::Status const status = limitCheck(options_.sweepLimit);
  if (!status.isOk()) {
    VEX_TRACE(trace, 1, "{}", status.message());
    outlet_.broadcast({{"event", "sweepRefused"}, {"error", status.message()}});
    return false;
  }
  sweepNow();
  return true;
}

RestartOperations::Clock::time_point RestartOperations::nextDeadline() const {
  if (!waitingSince_ || alarmed_ || options_.sweepAlarm.count() == 0) return Clock::time_point::max();
  return *waitingSince_ + options_.sweepAlarm;
}

void RestartOperations::mark(SteppedAnswer::Asker const&, ObjectReader& in, Result&) {
  std::size_t table = 0;
  std::string_view const name = in.text("table");
  if (in.isOk()) {
    Pivot::Status const status = tableIndex(name, table);
    if (!status.isOk()) in.refuse(status.message());
  }
  auto const unit = static_cast<Asic::UnitId>(in.number("unit", UINT16_MAX - 1));
  if (!in.finish().isOk()) return;
  if (!host_.front(table).table(unit))
    return in.refuse(
        fmt::format("{} has no unit {}; expected one that the operation unit has made", name, unit));
  host_.front(table).mark(unit);
  // What was written before the mark does not count, so nobody has finished any more.
  clients_.replayAgain();
  config_.replay();
}

// ---- reconciliation

void RestartOperations::reconcile(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result) {
  bool const plan = in.booleanOr("plan", false);
  if (!in.finish().isOk()) return;
  if (plan) {
    result.answer = reconcilePlanAnswer(asker, host_, clients_);
    return;
  }
  std::vector<std::string> const waitingFor = clients_.withoutUnits();
  if (!clients_.any()) return in.refuse("no client is known; expected one that has said unitsMade");
  if (!waitingFor.empty()) {
    return in.refuse(fmt::format("waits for {}; expected each known client to have said unitsMade",
                                 fmt::join(waitingFor, ", ")));
  }
  result.answer = reconcileAnswer(asker, host_, clients_);
}

void RestartOperations::addStatus(Json& report) const {
  report["clients"] = clients_.json();
  report["sweep"] = {{"done", sweeps_}, {"waitingFor", clients_.withoutReplay()}, {"alarm", alarmed_}};
}

}  // namespace Inlif
