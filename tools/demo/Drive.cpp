#include "tools/demo/Drive.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "tools/agent/operations/Limits.h"
#include "tools/workload/Workload.h"

namespace Inlif {
namespace {

// Enough to keep both processes at work, few enough that the time to the acknowledgement is that of the road
// and not of the queue.
constexpr std::size_t kWindow = 128;
// A dependency that ended so long ago is in the hardware; the agent may have forgotten its id.
constexpr std::uint64_t kOldDependency = kMostRemembered / 2;
constexpr std::chrono::seconds kStuck{60};
// How long a death of a process may stay unnoticed while nothing comes.
constexpr int kLookMilliseconds = 10;

}  // namespace

std::uint64_t Reports::version(std::size_t table) {
  Asic::TableVersion row;
  bool const found = rows_.ready() && rows_.lookup(tables()[table].id, row) == Shoal::Read::found;
  return found ? row.logVersion().value() : 0;
}

void Drive::send(Json operation) {
  wants_.take(operation);
  std::uint64_t const id = nextId_++;
  operation["id"] = id;
  std::string const op = operation["op"].get<std::string>();
  if (op == "write" || op == "remove" || op == "removeAll") {
    WantedPlace const place = placeOf(operation);
    if (operation.contains("after")) {
      auto const carrier = lastWrite_.find(placeOf(Workload::carrierOf(operation)));
      if (carrier != lastWrite_.end() &&
          (underWay_.contains(carrier->second) || carrier->second + kOldDependency > id))
        operation["after"] = carrier->second;
      else
        operation.erase("after");
    }
    if (op == "write") lastWrite_[place] = id;
    underWay_[id] = {place, op == "removeAll" ? 'a' : op[0], Workload::mustFail(operation), Clock::now(),
                     reports_ != nullptr ? reports_->version(place.table) : 0};
  }
  stage_.client().send(operation);
}

template <class Met>
Pivot::Status Drive::takeUntil(Met isMet) {
  auto lastMessage = Clock::now();
  while (!isMet()) {
    Json message;
    if (stage_.client().receive(message, kLookMilliseconds)) {
      lastMessage = Clock::now();
      Pivot::Status status = take(message);
      if (!status.isOk()) return status;
    } else {
      Pivot::Status status = stage_.check();
      if (!status.isOk()) return status;
      if (stage_.client().closed()) return Pivot::Status::refused("the agent has closed the connection");
      if (Clock::now() - lastMessage > kStuck) {
        return Pivot::Status::refused(
            fmt::format("nothing came for {} s, {} are under way", kStuck.count(), underWay_.size()));
      }
    }
    showProgress(false);
  }
  return Pivot::Status::ok();
}

Pivot::Status Drive::run(std::vector<Json> const& operations, std::size_t& next, std::size_t untilEnded) {
  return takeUntil([&] {
    while (next < operations.size() && underWay_.size() < kWindow) send(operations[next++]);
    return ended_.size() >= untilEnded || (next == operations.size() && underWay_.empty());
  });
}

Pivot::Status Drive::runAll(std::vector<Json> const& operations) {
  std::size_t next = 0;
  return run(operations, next, SIZE_MAX);
}

Pivot::Status Drive::ask(Json operation, Json& answer) {
  asked_ = nextId_;
  answer_ = nullptr;
  send(std::move(operation));
  Pivot::Status status = takeUntil([&] { return !answer_.is_null(); });
  answer = std::move(answer_);
  return status;
}

Pivot::Status Drive::await(std::string const& name, Json& event) {
  Pivot::Status status = takeUntil([&] { return events_.contains(name); });
  if (status.isOk()) event = std::move(events_[name]);
  events_.erase(name);
  return status;
}

Pivot::Status Drive::rest() {
  Json answer;
  return ask({{"op", "wait"}, {"timeoutMs", 60'000}}, answer);
}

Pivot::Status Drive::take(Json const& message) {
  if (message.contains("ok")) {
    if (!message["ok"].get<bool>()) return Pivot::Status::refused(message["error"].get<std::string>());
    if (message["id"] == asked_) answer_ = message;
    return Pivot::Status::ok();
  }
  std::string const event = message["event"].get<std::string>();
  if (message.contains("id")) {
    takeEnd(message["id"].get<std::uint64_t>(), message);
  } else if (event == "wiped") {
    surprises_.push_back(jsonText(message));
  } else if (event == "sweepRefused") {
    return Pivot::Status::refused(jsonText(message));
  } else {
    events_[event] = message;
  }
  return Pivot::Status::ok();
}

void Drive::takeEnd(std::uint64_t id, Json const& message) {
  auto const found = underWay_.find(id);
  if (found == underWay_.end()) {
    surprises_.push_back(fmt::format("{} ended, which is not under way", jsonText(message)));
    return;
  }
  UnderWay const& operation = found->second;
  Ended end{operation.place, operation.op, message["event"] == "done", 0, 0};
  if (message.contains("version")) end.version = message["version"].get<std::uint64_t>();
  end.seconds = std::chrono::duration<double>(Clock::now() - operation.sent).count();
  bool const mayFail = mayFail_ && operation.op == 'w';
  if (end.done) {
    failed_.erase(end.place);
  } else if (mayFail && !operation.mustFail) {
    failed_.insert(end.place);
  }
  bool const asItShould =
      end.done ? !operation.mustFail && hadItsVersion(operation, end) : operation.mustFail || mayFail;
  if (!asItShould) {
    surprises_.push_back(fmt::format("{} of {} unit {} key {} ended as {}", operation.op,
                                     tables()[end.place.table].name, end.place.unit, end.place.key,
                                     jsonText(message)));
  }
  ended_.push_back(end);
  underWay_.erase(found);
}

// A removal of what is not there, and of all in an empty unit, needs no version.
bool Drive::hadItsVersion(UnderWay const& operation, Ended const& end) {
  if (reports_ == nullptr || (end.version == 0 && operation.op != 'w')) return true;
  return end.version > operation.reported && end.version <= reports_->version(end.place.table);
}

void Drive::showProgress(bool last) {
  if (!shows_) return;
  bool const terminal = isatty(STDERR_FILENO) == 1;
  auto const now = Clock::now();
  if (!last && now - shown_ < std::chrono::milliseconds(terminal ? 100 : 2000)) return;
  shown_ = now;
  printAside("{}{:>6} of {} operations acknowledged or failed{}", terminal ? "\r" : "",
             ended_.size() - shownFrom_, of_, terminal && !last ? "" : "\n");
  std::fflush(stderr);
}

}  // namespace Inlif
