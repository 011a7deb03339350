#include <fmt/format.h>

#include <chrono>
#include <unordered_map>

#include "tools/demo/AgentClient.h"
#include "tools/dump/Load.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

using Clock = std::chrono::steady_clock;
using VexSharedMem::StoreRoot;

// Sent and not answered: enough to keep the agent at work, little enough to lie in neither's way.
constexpr std::size_t kUnansweredAtOnce = 4096;
// When all has been answered, and no end has come for so long, the rest is left to the agent.
constexpr std::chrono::seconds kSettle{2};
constexpr int kWaitMilliseconds = 200;

class AgentLoad {
 public:
  AgentLoad(AgentClient& agent, DumpReader& reader, LoadResult& result, Progress& progress)
      : agent_(agent), reader_(reader), result_(result), progress_(progress) {}

  Outcome run() {
    for (auto lastWord = Clock::now(); !allSent_ || !unanswered_.empty() || underWay_ > 0;) {
      sendMore();
      if (agent_.closed())
        return stopped(Pivot::Status::refused("the agent went away before it had taken all"));
      bool const isAnswered = allSent_ && unanswered_.empty();
      auto const patience = isAnswered ? Clock::duration(kSettle) : AgentClient::kPatience;
      if (Clock::now() - lastWord >= patience) {
        if (!isAnswered) return stuck();
        break;
      }
      Json message;
      if (agent_.receive(message, kWaitMilliseconds) && take(message)) lastWord = Clock::now();
      progress_.at(answered_);
    }
    result_.onTheirWay = underWay_;
    return Outcome::done();
  }

 private:
  void sendMore() {
    DumpLine line;
    Pivot::Status status = Pivot::Status::ok();
    while (!allSent_ && unanswered_.size() < kUnansweredAtOnce) {
      allSent_ = !reader_.next(line, status);
      if (allSent_) return;
      unanswered_.emplace(line.number, line.isUnit);
      agent_.send(reader_.operation());
    }
  }

  // Whether it is a word about one of the lines.
  bool take(Json const& message) {
    auto const id = message.find("id");
    if (id == message.end() || !id->is_number_unsigned()) return false;
    std::size_t const line = id->get<std::size_t>();
    if (message.contains("event")) {
      --underWay_;
      if (message["event"] == "failed") result_.refuse(line, LoadResult::kFailed);
      return true;
    }
    auto const sent = unanswered_.find(line);
    if (sent == unanswered_.end()) return false;
    bool const isUnit = sent->second;
    unanswered_.erase(sent);
    ++answered_;
    if (!message["ok"].get<bool>()) {
      result_.refuse(line, message["error"].get<std::string>());
    } else if (isUnit) {
      ++result_.units;
    } else {
      ++result_.entries;
      ++underWay_;
    }
    return true;
  }

  Outcome stopped(Pivot::Status status) {
    result_.onTheirWay = underWay_;
    return agent_.outcome(std::move(status));
  }
  // An agent that lives and takes no more has as much under way as it may.
  Outcome stuck() {
    Pivot::Status status = Pivot::Status::refused(fmt::format(
        "the agent has taken nothing more for {:g} s, with {} entries on their way to the hardware",
        std::chrono::duration<double>(AgentClient::kPatience).count(), underWay_));
    bool const isSilent = processJson(StoreRoot::Role::agent).contains("silentMs");
    if (underWay_ == 0 || isSilent) return stopped(std::move(status));
    result_.onTheirWay = underWay_;
    return Outcome::refused(Pivot::Status::refused(
        fmt::format("{}; {}", status.message(), processText(StoreRoot::Role::writer))));
  }

  AgentClient& agent_;
  DumpReader& reader_;
  LoadResult& result_;
  Progress& progress_;
  std::unordered_map<std::size_t, bool> unanswered_;  // by line, whether it makes a unit
  std::size_t answered_ = 0;
  std::size_t underWay_ = 0;
  bool allSent_ = false;
};

}  // namespace

Outcome loadIntoAgent(std::string const& store, DumpReader& reader, LoadResult& result, Progress& progress) {
  AgentClient agent;
  Outcome outcome = connectToAgent(store, agent);
  return outcome.isWell() ? AgentLoad(agent, reader, result, progress).run() : outcome;
}

}  // namespace Inlif
