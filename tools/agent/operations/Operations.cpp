#include "tools/agent/operations/Operations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/agent/operations/ResourceAnswer.h"
#include "tools/agent/operations/RestartAnswers.h"
#include "tools/agent/operations/StatusAnswer.h"
#include "tools/agent/operations/TraceAnswer.h"
#include "tools/agent/operations/WhyAnswer.h"
#include "tools/inspect/InspectAnswer.h"
#include "tools/support/ErrorFile.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kMostWait = 3'600'000;

}  // namespace

constinit Operations::Name const Operations::kNames[] = {{"unit", &Operations::unit},
                                                         {"write", &Operations::write},
                                                         {"remove", &Operations::remove},
                                                         {"removeAll", &Operations::removeAll},
                                                         {"read", &Operations::read, true},
                                                         {"has", &Operations::has, true},
                                                         {"count", &Operations::count, true},
                                                         {"walk", &Operations::walk, true},
                                                         {"resource", &Operations::resource},
                                                         {"status", &Operations::status, true},
                                                         {"wait", &Operations::wait},
                                                         {"config", &Operations::config},
                                                         {"client", &Operations::client},
                                                         {"unitsMade", &Operations::unitsMade},
                                                         {"replayed", &Operations::replayed},
                                                         {"sweep", &Operations::sweep},
                                                         {"reconcile", &Operations::reconcile},
                                                         {"mark", &Operations::mark},
                                                         {"why", &Operations::why, true},
                                                         {"latency", &Operations::latency, true},
                                                         {"errors", &Operations::errors, true},
                                                         {"trace", &Operations::trace},
                                                         {"failures", &Operations::failures, true},
                                                         {"retry", &Operations::retry},
                                                         {"inspect", &Operations::inspect},
                                                         {"quit", &Operations::quit}};

Operations::Operations(LoamAgent::Host& host, LoamAgent::Restart& restart, ConfigClient& config,
                       Outlet& outlet, Pools& pools)
    : host_(host),
      restart_(restart),
      config_(config),
      outlet_(outlet),
      logHighWater_(host, outlet),
      failureEvents_(host, outlet),
      receipts_(pools) {
  for (std::size_t i = 0; i < kTables; ++i) {
    watches_[i].dispatch = &Operations::pendingDispatch;
    watches_[i].operations = this;
    watches_[i].table = i;
    Pivot::Publisher::subscriberAdd(host_.front(i).status()->publisher(), &watches_[i], false);
  }
  watching_ = true;
}

Operations::~Operations() {
  close();
}

void Operations::close() {
  if (watching_) {
    for (std::size_t i = 0; i < kTables; ++i)
      Pivot::Publisher::subscriberRemove(host_.front(i).status()->publisher(), &watches_[i]);
  }
  watching_ = false;
  answers_.clear();
  waits_.clear();
  receipts_.dropHandles();
}

Operations::Name const* Operations::find(std::string_view name) {
  auto const found = std::ranges::find(kNames, name, &Name::name);
  return found == std::end(kNames) ? nullptr : found;
}

bool Operations::execute(ChannelNumber channel, std::string_view line, bool tooLong) {
  if (!tooLong && line.find_first_not_of(" \t") == std::string_view::npos) return true;
  Pivot::Status status =
      tooLong
          ? Pivot::Status::refused(fmt::format(
                "the line that begins with {} is longer than 1 MiB, or than other channels leave room for",
                shownText(line)))
          : operationFrom(line, line_);
  Json id;
  if (status.isOk()) {
    Value const op = line_.root().member("op");
    Name const* const name = op && op.isText() ? find(op.text()) : nullptr;
    ObjectReader in(line_.root(), ObjectPlace(name ? name->name : "operation"));
    std::string_view const given = in.text("op");
    idFrom(in, id);
    if (in.isOk() && !name) {
      std::vector<std::string_view> names;
      for (Name const& one : kNames) names.push_back(one.name);
      in.refuse(fmt::format("'op' is {}; expected one of {}", shownText(given), fmt::join(names, ", ")));
    }
    if (in.isOk() && name->onlyAsks && outlet_.isGone(channel)) return true;
    if (in.isOk()) {
      Request request{channel, id, in};
      (this->*name->doing)(request);
      if (request.postponed) return false;
    }
    status = in.status();
  }
  if (!status.isOk()) {
    Asker{outlet_, channel, id}.refuse(status.message().substr(0, kMostRefusal));
  }
  return true;
}

// What has no id that could be given back is answered without one.
void Operations::idFrom(ObjectReader& in, Json& id) {
  Value const given = in.required("id", "a text or number of the client's own");
  if (!given) return;
  bool const isNumber = Value::Type::natural <= given.type() && given.type() <= Value::Type::real;
  if (!given.isText() && !isNumber)
    return in.refuse(fmt::format("'id' is {}; expected a text or a number", shown(given)));
  std::size_t const bytes = given.isText() ? given.text().size() : given.source().size();
  if (bytes > kMostId)
    return in.refuse(fmt::format("'id' has {} bytes; expected at most {}", bytes, kMostId));
  Json printed = jsonOf(given);
  if (isNumber && jsonText(printed) != given.source()) {
    return in.refuse(
        fmt::format("'id' is {}, which would come back as {}; expected a text or a number as it prints",
                    shown(given), jsonText(printed)));
  }
  id = std::move(printed);
}

bool Operations::complete(Request& request) {
  return request.in.finish().isOk();
}

void Operations::resource(Request& request) {
  Json report;
  if (!resourceAnswer(host_.framework(), request.in, report)) return;
  host_.lookAtPending();
  answer(request, std::move(report));
}

void Operations::status(Request& request) {
  if (!complete(request)) return;
  Json report = statusAnswer(host_);
  report["config"] = config_.statusJson();
  report["clients"] = clientsJson(restart_.clients());
  report["sweep"] = {{"done", restart_.sweeps()},
                     {"waitingFor", restart_.clients().withoutReplay()},
                     {"alarm", restart_.alarmed()}};
  report["longestTurnUs"] = std::chrono::duration_cast<std::chrono::microseconds>(turnTime_.take()).count();
  answer(request, std::move(report));
}

void Operations::wait(Request& request) {
  std::uint64_t const limit = request.in.numberOr("timeoutMs", 10'000, kMostWait);
  if (!complete(request)) return;
  auto const now = Clock::now();
  waits_.emplace(request.channel, Wait{asker(request), now, now + std::chrono::milliseconds(limit)});
}

void Operations::why(Request& request) {
  answers_.add(whyAnswer(asker(request), request.in, host_));
}

void Operations::latency(Request& request) {
  if (complete(request)) answer(request, {{"units", latencyAnswer(host_)}});
}

void Operations::config(Request& request) {
  std::string const file(request.in.textOr("file", config_.file()));
  if (request.in.isOk() && file.empty())
    request.in.refuse("'file' is missing; expected a switch configuration, as --config names one");
  bool const plan = request.in.booleanOr("plan", false);
  bool const force = request.in.booleanOr("force", false);
  if (complete(request)) config_.ask(asker(request), file, plan, force);
}

void Operations::errors(Request& request) {
  if (!complete(request)) return;
  Json errors = Json::array();
  for (Vex::ErrorLog::Row const& row : Vex::ErrorLog::rows()) errors.push_back(errorJson(row));
  answer(request, {{"errors", std::move(errors)}});
}

void Operations::trace(Request& request) {
  Json report;
  if (traceAnswer(request.in, report)) answer(request, report);
}

void Operations::failures(Request& request) {
  answers_.add(failuresAnswer(asker(request), request.in, host_));
}

void Operations::retry(Request& request) {
  answers_.add(retryAnswer(asker(request), request.in, host_));
}

void Operations::inspect(Request& request) {
  answers_.add(inspectAnswer(asker(request), request.in, rootsOf(host_)));
}

void Operations::quit(Request& request) {
  if (!complete(request)) return;
  quit_.emplace(asker(request));
}

void Operations::answerQuit(std::vector<std::string> const& leaks) {
  if (!quit_) return;
  if (leaks.empty())
    quit_->answer({{"leaks", 0}});
  else
    quit_->refuse(fmt::format("quit: not everything was freed: {}", fmt::join(leaks, "; ")));
}

void Operations::channelGone(ChannelNumber channel) {
  receipts_.channelDel(channel);
  speakers_.erase(channel);
  answers_.channelGone(channel);
  config_.channelGone(channel);
  waits_.erase(channel);
}

bool Operations::holds(ChannelNumber channel) const {
  return answers_.holds(channel) || config_.holds(channel) || waits_.contains(channel);
}

bool Operations::owes(ChannelNumber channel) const {
  return receipts_.anyUnderWay(channel) || holds(channel);
}

bool Operations::turn() {
  for (LoamAgent::Host::Loss const& loss : host_.takeLosses())
    outlet_.broadcast({{"event", "wiped"}, {"table", loss.table}, {"what", loss.what}});
  logHighWater_.turn();
  bool const forgetting = receipts_.turn();
  // Before the sweep, which may become due by it.
  bool const configures = config_.turn();
  // Before the waits, since what a sweep removes is waited for too.
  bool const swept = turnRestart();
  bool const answering = answers_.turn();
  bool const answered = turnWaits();
  // A sweep has queued removes; whoever was answered may have more to say.
  return forgetting || configures || swept || answering || answered;
}

// Returns whether somebody was answered.
bool Operations::turnWaits() {
  auto const now = Clock::now();
  bool const pending = !waits_.empty() && (config_.busy() || host_.pending());
  std::string text;
  std::size_t const answered = std::erase_if(waits_, [&](auto const& one) {
    Wait const& wait = one.second;
    auto const waited = std::chrono::duration_cast<std::chrono::milliseconds>(now - wait.since).count();
    if (!pending) {
      wait.asker.answer({{"waitedMs", waited}});
    } else if (now >= wait.deadline) {
      if (text.empty()) text = pendingText(host_);
      wait.asker.refuse(fmt::format("wait: still pending after {} ms: {}", waited, text));
    } else {
      return false;
    }
    return true;
  });
  return answered > 0;
}

Operations::Clock::time_point Operations::nextDeadline() const {
  auto next = std::min({restart_.nextDeadline(), answers_.nextDeadline(), config_.nextDeadline()});
  for (auto const& [channel, wait] : waits_) next = std::min(next, wait.deadline);
  return next;
}

void Operations::pendingDispatch(Pivot::Publisher*, Pivot::Subscriber* subscriber, Pivot::FieldId field,
                                 void const*, void const*) {
  auto* watch = static_cast<PendingWatch*>(subscriber);
  if (field == Asic::OrderedSwTableStatus::kFieldPendingHwWrites)
    watch->operations->pendingChanged(watch->table);
}

void Operations::pendingChanged(std::size_t table) {
  outlet_.broadcast({{"event", "pending"},
                     {"table", tables()[table].name},
                     {"pending", host_.front(table).status()->pendingHwWrites()}});
}

}  // namespace Inlif
