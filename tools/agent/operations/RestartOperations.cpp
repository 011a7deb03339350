// The operations that take the clients through a restart, and what the agent tells of the sweep that it does by itself.

#include "tools/agent/operations/Operations.h"
#include "tools/agent/operations/RestartAnswers.h"
#include "tools/agent/operations/Target.h"

namespace Inlif {

using LoamAgent::RestartClients;

// ---- who is there

void Operations::client(Request& request) {
  std::string const name(request.in.text("name"));
  bool const forget = request.in.booleanOr("forget", false);
  clientSays(request, name, forget ? &RestartClients::forget : &RestartClients::add);
}

void Operations::unitsMade(Request& request) {
  std::string const name(request.in.text("client"));
  clientSays(request, name, &RestartClients::unitsMadeIs);
}

void Operations::replayed(Request& request) {
  std::string const name(request.in.text("client"));
  clientSays(request, name, &RestartClients::replayedIs);
}

void Operations::clientSays(Request& request, std::string const& name,
                            Pivot::Status (RestartClients::*change)(std::string const&)) {
  if (!complete(request)) return;
  Pivot::Status const status = (restart_.clients().*change)(name);
  if (!status.isOk()) return request.in.refuse(status.message());
  if (restart_.clients().knows(name))
    speakers_[request.channel] = name;
  else
    std::erase_if(speakers_, [&](auto const& speaker) { return speaker.second == name; });
  answer(request, {{"clients", clientsJson(restart_.clients())}});
}

// ---- sweep

// Everybody is told of it.
Json Operations::tellSwept(std::vector<LoamAgent::Host::Swept> const& swept) {
  Json units = Json::array();
  for (LoamAgent::Host::Swept const& one : swept) {
    units.push_back(placeJson(one.place));
    units.back().update({{"removed", one.removed}, {"kept", one.kept}});
  }
  outlet_.broadcast({{"event", "swept"}, {"units", units}});
  return units;
}

void Operations::sweep(Request& request) {
  bool const plan = request.in.booleanOr("plan", false);
  std::optional<std::uint64_t> limit;
  if (request.in.has("limit")) limit = request.in.number("limit", 100);
  if (!complete(request)) return;
  if (plan) return answers_.add(sweepPlanAnswer(asker(request), host_, restart_));
  std::vector<LoamAgent::Host::Swept> swept;
  Pivot::Status const status = restart_.sweep(limit, swept);
  if (!status.isOk()) return request.in.refuse(status.message());
  answer(request, {{"units", tellSwept(swept)}});
}

bool Operations::turnRestart() {
  using Turn = LoamAgent::Restart::Turn;
  Turn const turn = restart_.turn();
  if (turn.what == Turn::What::alarmed)
    outlet_.broadcast({{"event", "sweepAlarm"}, {"waitingFor", turn.waitsFor}});
  if (turn.what == Turn::What::refused)
    outlet_.broadcast({{"event", "sweepRefused"}, {"error", turn.refusal}});
  if (turn.what == Turn::What::swept) tellSwept(turn.swept);
  return turn.what == Turn::What::swept;
}

void Operations::mark(Request& request) {
  UnitPlace const place = placeFrom(request.in);
  if (!existing(host_, place, request.in) || !complete(request)) return;
  restart_.mark(place);
  config_.replay();
  answer(request);
}

// ---- reconciliation

void Operations::reconcile(Request& request) {
  bool const plan = request.in.booleanOr("plan", false);
  if (!complete(request)) return;
  if (plan) return answers_.add(reconcilePlanAnswer(asker(request), host_, restart_));
  Pivot::Status const status = restart_.mayReconcile();
  if (!status.isOk()) return request.in.refuse(status.message());
  answers_.add(reconcileAnswer(asker(request), host_, restart_));
}

}  // namespace Inlif
