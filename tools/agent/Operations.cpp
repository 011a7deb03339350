#include "tools/agent/Operations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/agent/ConfigClient.h"
#include "tools/agent/LatencyReport.h"
#include "tools/agent/ResourceOperation.h"
#include "tools/agent/StatusReport.h"
#include "tools/agent/WalkAnswer.h"
#include "tools/agent/WhyAnswer.h"
#include "tools/inspect/Inspection.h"
#include "tools/json/EntryJson.h"
#include "tools/support/ErrorFile.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;

constexpr std::uint64_t kMostWait = 3'600'000;

}  // namespace

Operations::Name const Operations::kNames[] = {{"unit", &Operations::unit},
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
                                               {"client", &Operations::restart},
                                               {"unitsMade", &Operations::restart},
                                               {"replayed", &Operations::restart},
                                               {"sweep", &Operations::restart},
                                               {"reconcile", &Operations::restart},
                                               {"mark", &Operations::restart},
                                               {"why", &Operations::why, true},
                                               {"latency", &Operations::latency, true},
                                               {"errors", &Operations::errors, true},
                                               {"inspect", &Operations::inspect},
                                               {"quit", &Operations::quit}};

Operations::Operations(Host& host, RestartClients& clients, ConfigClient& config, Outlet& outlet,
                       Pools& pools, RestartOptions const& options)
    : host_(host),
      config_(config),
      outlet_(outlet),
      restart_(host, clients, config, outlet, options),
      logLevel_(host, outlet),
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
  receipts_.clear();
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
      Request request{channel, id, in, name->name};
      (this->*name->doing)(request);
      if (request.postponed) return false;
    }
    status = in.status();
  }
  if (!status.isOk()) {
    outlet_.send(channel, {{"id", id}, {"ok", false}, {"error", status.message().substr(0, kMostRefusal)}});
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
  if (isNumber && printed.dump() != given.source()) {
    return in.refuse(
        fmt::format("'id' is {}, which would come back as {}; expected a text or a number as it prints",
                    shown(given), printed.dump()));
  }
  id = std::move(printed);
}

bool Operations::complete(Request& request) {
  return request.in.finish().isOk();
}

bool Operations::begin(Request& request) {
  if (!complete(request)) return false;
  request.postponed = !receipts_.hasRoom(request.channel);
  if (request.postponed) return false;
  receipts_.begin(request.channel, request.id);
  answer(request);
  return true;
}

void Operations::answer(Request const& request, Json members) {
  Json message = {{"id", request.id}, {"ok", true}};
  message.update(members);
  outlet_.send(request.channel, message);
}

Operations::Target Operations::target(Request& request, bool mustExist) {
  ObjectReader& in = request.in;
  Target target;
  std::string_view const table = in.text("table");
  if (in.isOk()) {
    Pivot::Status const status = tableIndex(table, target.table);
    if (!status.isOk()) in.refuse(status.message());
  }
  target.unit = static_cast<Asic::UnitId>(in.number("unit", UINT16_MAX - 1));
  if (!in.isOk()) return target;
  target.swTable = host_.front(target.table).table(target.unit);
  if (mustExist && !target.swTable) {
    in.refuse(
        fmt::format("{} has no unit {}; expected one that the operation unit has made", table, target.unit));
  }
  return target;
}

InLifModelEntryKey Operations::key(Request& request) {
  return InLifModelEntryKey(static_cast<std::uint32_t>(request.in.number("key", UINT32_MAX)));
}

Receipts::Handle Operations::dependency(Request& request) {
  Value const after = request.in.member("after");
  if (!after) return nullptr;
  Receipts::Handle const handle = receipts_.handle(request.channel, jsonOf(after));
  if (!handle) {
    request.in.refuse(fmt::format(
        "'after' is {}; expected the id of an earlier write or remove of this channel", shown(after)));
  }
  return handle;
}

void Operations::mustBeFree(Request& request) {
  if (!receipts_.underWay(request.channel, request.id)) return;
  request.in.refuse(fmt::format("'id' {} is still under way; expected another one", request.id.dump()));
}

void Operations::unit(Request& request) {
  Target const aim = target(request, false);
  bool const reset = request.in.booleanOr("reset", false);
  if (!complete(request)) return;
  Pivot::Status const status = host_.makeTable(aim.table, aim.unit, reset);
  if (!status.isOk()) return request.in.refuse(status.message());
  TableFront const& front = host_.front(aim.table);
  std::uint32_t const entries = front.table(aim.unit)->entrys();
  if (!aim.swTable && entries > 0 && front.marking(aim.unit)) restart_.markingUnitMade(request.channel);
  answer(request, {{"entries", entries}});
}

Asic::OrderedSwTable::ResponseHandler Operations::handler(Request const& request) {
  return [this, channel = request.channel,
          id = request.id](Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    ended(channel, id, *handle);
  };
}

void Operations::ended(ChannelNumber channel, Json const& id,
                       Asic::OrderedSwTable::EntryHandle const& handle) {
  receipts_.end(channel, id);
  bool const done = handle.entryState() == Asic::EntryState::entryStateDone;
  Json event = {{"id", id}, {"event", done ? "done" : "failed"}};
  if (handle.logVersion().value() != 0) event["version"] = handle.logVersion().value();
  outlet_.send(channel, event);
}

void Operations::write(Request& request) {
  Target const aim = target(request);
  InLifModelEntry entry;
  entryFrom(request.in, entry);
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  receipts_.handleIs(
      request.channel, request.id,
      aim.swTable->entryWriteWithResponseHandler(entry.logEntry.key, entry, after, handler(request)));
}

void Operations::remove(Request& request) {
  Target const aim = target(request);
  InLifModelEntryKey const entryKey = key(request);
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  receipts_.handleIs(request.channel, request.id,
                     aim.swTable->entryRemoveWithResponseHandler(entryKey, after, handler(request)));
}

void Operations::removeAll(Request& request) {
  Target const aim = target(request);
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  aim.swTable->entryRemoveAllWithResponseHandler(after, handler(request));
}

void Operations::read(Request& request) {
  Target const aim = target(request);
  InLifModelEntryKey const entryKey = key(request);
  if (!complete(request)) return;
  Json entry;
  if (aim.swTable->entryHas(entryKey)) {
    entry["key"] = entryKey.value();
    addEntry(entry, aim.swTable->entryRead(entryKey));
  }
  answer(request, {{"entry", entry}});
}

void Operations::has(Request& request) {
  Target const aim = target(request);
  InLifModelEntryKey const entryKey = key(request);
  if (complete(request)) answer(request, {{"has", aim.swTable->entryHas(entryKey)}});
}

void Operations::count(Request& request) {
  Target const aim = target(request);
  if (complete(request)) answer(request, {{"count", aim.swTable->entrys()}});
}

void Operations::walk(Request& request) {
  Target const aim = target(request);
  std::optional<std::uint32_t> from;
  if (request.in.has("from")) from = static_cast<std::uint32_t>(request.in.number("from", UINT32_MAX));
  std::uint64_t const limit = request.in.numberOr("limit", UINT64_MAX, UINT64_MAX, 1);
  if (complete(request)) answers_.add(walkAnswer(asker(request), aim.swTable, from, limit));
}

void Operations::resource(Request& request) {
  Json report;
  if (!resourceOperation(host_.framework(), request.in, report)) return;
  host_.pendingLook();
  answer(request, std::move(report));
}

void Operations::status(Request& request) {
  if (!complete(request)) return;
  Json report = statusReport(host_);
  report["config"] = config_.statusJson();
  restart_.addStatus(report);
  report["longestTurnUs"] = std::chrono::duration_cast<std::chrono::microseconds>(turnTime_.take()).count();
  answer(request, std::move(report));
}

void Operations::wait(Request& request) {
  std::uint64_t const limit = request.in.numberOr("timeoutMs", 10'000, kMostWait);
  if (!complete(request)) return;
  auto const now = Clock::now();
  waits_[request.channel] = {request.id, now, now + std::chrono::milliseconds(limit)};
}

void Operations::why(Request& request) {
  answers_.add(whyAnswer(asker(request), request.in, host_));
}

void Operations::latency(Request& request) {
  if (complete(request)) answer(request, {{"units", latencyReport(host_)}});
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

void Operations::inspect(Request& request) {
  answers_.add(inspection(asker(request), request.in, rootsOf(host_)));
}

void Operations::quit(Request& request) {
  if (!complete(request)) return;
  quit_ = true;
  quitChannel_ = request.channel;
  quitId_ = request.id;
}

void Operations::restart(Request& request) {
  RestartOperations::Result result;
  restart_.execute(request.name, asker(request), request.in, result);
  if (result.answer)
    answers_.add(std::move(result.answer));
  else if (request.in.isOk())
    answer(request, std::move(result.members));
}

void Operations::quitAnswer(std::vector<std::string> const& leaks) {
  if (!quit_) return;
  Json message = {{"id", quitId_}, {"ok", leaks.empty()}};
  if (leaks.empty())
    message["leaks"] = 0;
  else
    message["error"] = fmt::format("quit: not everything was freed: {}", fmt::join(leaks, "; "));
  outlet_.send(quitChannel_, message);
}

void Operations::channelGone(ChannelNumber channel) {
  receipts_.channelDel(channel);
  restart_.channelGone(channel);
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
  for (Host::Loss const& loss : host_.lossesTake())
    outlet_.broadcast({{"event", "wiped"}, {"table", loss.table}, {"what", loss.what}});
  logLevel_.turn();
  bool const forgetting = receipts_.turn();
  // Before the sweep, which may become due by it.
  bool const configures = config_.turn();
  // Before the waits, since what a sweep removes is waited for too.
  bool const swept = restart_.turn();
  bool const answering = answers_.turn();
  auto const now = Clock::now();
  bool const pending = !waits_.empty() && (config_.busy() || host_.pending());
  std::string pendingText;
  std::size_t const answered = std::erase_if(waits_, [&](auto const& one) {
    auto const& [channel, wait] = one;
    auto const waited = std::chrono::duration_cast<std::chrono::milliseconds>(now - wait.since).count();
    if (!pending) {
      outlet_.send(channel, {{"id", wait.id}, {"ok", true}, {"waitedMs", waited}});
    } else if (now >= wait.deadline) {
      if (pendingText.empty()) pendingText = host_.pendingText();
      outlet_.send(channel,
                   {{"id", wait.id},
                    {"ok", false},
                    {"error", fmt::format("wait: still pending after {} ms: {}", waited, pendingText)}});
    } else {
      return false;
    }
    return true;
  });
  // A sweep has queued removes; whoever was answered may have more to say.
  return forgetting || configures || swept || answering || answered > 0;
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
