#include "tools/demo/Drive.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "Vex/Assert.h"
#include "tools/agent/Receipts.h"
#include "tools/json/EntryJson.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelEntry;

// Enough to keep both processes at work, few enough that the time to the acknowledgement is that of the road
// and not of the queue.
constexpr std::size_t kWindow = 128;
// A dependency that ended so long ago is in the hardware; the agent may have forgotten its id.
constexpr std::size_t kOldDependency = Receipts::kEndedKept / 2;
constexpr std::chrono::seconds kStuck{60};

}  // namespace

Drive::Drive(Stage& stage, Workload const& workload, std::size_t kills, std::uint64_t seed)
    : stage_(stage),
      workload_(workload),
      progress_(workload.operations().size()),
      terminal_(isatty(STDERR_FILENO) == 1) {
  std::mt19937_64 random(seed);
  std::vector<std::size_t> moments;
  for (std::size_t i = 0; i < kills; ++i) moments.push_back(random() % progress_.size());
  std::ranges::sort(moments);
  killsAt_.assign(moments.begin(), moments.end());
  figures_.operations = progress_.size();
}

Pivot::Status Drive::run() {
  for (Json const& operation : workload_.preparation()) {
    Json answer;
    Pivot::Status status = stage_.client().ask(operation, answer);
    if (!status.isOk()) return status;
  }
  auto const begin = Clock::now();
  auto lastMessage = begin;
  shown_ = begin;
  while (ended() < progress_.size()) {
    while (next_ < progress_.size() && next_ - ended() < kWindow) sendNext();
    Json message;
    if (stage_.client().receive(message, 100)) {
      lastMessage = Clock::now();
      Pivot::Status status = take(message);
      if (status.isOk()) status = maybeKill();
      if (!status.isOk()) return status;
    } else {
      Pivot::Status status = stage_.check();
      if (!status.isOk()) return status;
      if (Clock::now() - lastMessage > kStuck) {
        return Pivot::Status::refused(fmt::format("no operation has ended for {} s, {} are under way",
                                                  kStuck.count(), next_ - ended()));
      }
    }
    showProgress(false);
  }
  figures_.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  showProgress(true);
  Json answer;
  return stage_.client().ask({{"op", "wait"}, {"id", "wait"}, {"timeoutMs", 60'000}}, answer, 70'000);
}

void Drive::sendNext() {
  Json const& operation = workload_.operations()[next_];
  progress_[next_].state = State::underWay;
  progress_[next_].sent = Clock::now();
  ++next_;
  if (operation.contains("after")) {
    std::uint64_t const after = operation["after"].get<std::uint64_t>();
    if (after + kOldDependency < next_ && progress_[after - 1].state != State::underWay) {
      Json alone = operation;
      alone.erase("after");
      return stage_.client().send(alone);
    }
  }
  stage_.client().send(operation);
}

Pivot::Status Drive::take(Json const& message) {
  if (message.contains("ok")) {
    return message["ok"].get<bool>() ? Pivot::Status::ok()
                                     : Pivot::Status::refused(message["error"].get<std::string>());
  }
  if (!message.contains("id")) return Pivot::Status::ok();
  std::size_t const place = message["id"].get<std::size_t>() - 1;
  Progress& progress = progress_[place];
  bool const done = message["event"] == "done";
  if (progress.state != State::underWay || done == Workload::mustFail(workload_.operations()[place]))
    ++figures_.surprises;
  progress.state = done ? State::done : State::failed;
  ++(done ? figures_.done : figures_.failed);
  if (done && workload_.operations()[place]["op"] == "write") {
    figures_.acknowledgeSeconds.push_back(
        std::chrono::duration<double>(Clock::now() - progress.sent).count());
  }
  return Pivot::Status::ok();
}

Pivot::Status Drive::maybeKill() {
  Pivot::Status status = Pivot::Status::ok();
  while (status.isOk() && !killsAt_.empty() && killsAt_.front() <= ended()) {
    killsAt_.pop_front();
    ++figures_.writerKills;
    status = stage_.restartWriter();
  }
  return status;
}

void Drive::showProgress(bool last) {
  auto const now = Clock::now();
  if (!last && now - shown_ < std::chrono::milliseconds(terminal_ ? 100 : 2000)) return;
  shown_ = now;
  fmt::print(stderr, "{}{:>6} of {} operations acknowledged or failed, {} failed, writer killed {} times{}",
             terminal_ ? "\r" : "", ended(), progress_.size(), figures_.failed, figures_.writerKills,
             terminal_ && !last ? "" : "\n");
  std::fflush(stderr);
}

Wishes Drive::wishes() const {
  Wishes wishes;
  for (std::size_t i = 0; i < progress_.size(); ++i) {
    if (progress_[i].state != State::done) continue;
    Json const& operation = workload_.operations()[i];
    WantedPlace place;
    static_cast<void>(tableIndex(operation["table"].get<std::string>(), place.table));
    place.unit = operation["unit"].get<Asic::UnitId>();
    if (operation["op"] == "removeAll") {
      std::erase_if(wishes, [&](auto const& wish) {
        return wish.first.table == place.table && wish.first.unit == place.unit;
      });
      continue;
    }
    place.key = operation["key"].get<std::uint32_t>();
    if (operation["op"] == "remove") {
      wishes.erase(place);
      continue;
    }
    ObjectReader in(operation, "write");
    entryFrom(in, wishes[place]);
    VEX_ASSERT_MSG(in.isOk(), "in.isOk()", "the agent took what cannot be read here: {}",
                   in.finishLenient().message());
  }
  return wishes;
}

}  // namespace Inlif
