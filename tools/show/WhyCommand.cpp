#include "tools/show/WhyCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "tools/agent/Listener.h"
#include "tools/demo/AgentClient.h"
#include "tools/show/HeldBack.h"

namespace Inlif {
namespace {

// Without a word from the agent for so long, the answer is given up.
constexpr std::chrono::seconds kPatience{10};

std::string nameOf(Json const& operation) {
  std::string const does = operation["does"].get<std::string>();
  std::string const place =
      fmt::format("{} unit {}", operation["table"].get<std::string>(), operation["unit"].dump());
  if (does == "removeAll") return fmt::format("{} removeAll", place);
  return fmt::format("{} {} of key {}", place, does, operation["key"].dump());
}

std::string secondsOf(Json const& milliseconds) {
  return fmt::format("{:.1f} s", static_cast<double>(milliseconds.get<std::uint64_t>()) / 1000);
}

std::string phraseOf(Json const& operation);

// What is waited for.
std::string textOf(Json const& cause) {
  std::string const kind = cause["for"].get<std::string>();
  if (kind == "turn") return "nothing more";
  if (kind == "room")
    return fmt::format("room in {} unit {}: {}", cause["table"].get<std::string>(), cause["unit"].dump(),
                       cause["why"].get<std::string>());
  if (kind == "resource")
    return fmt::format("{} {} of {} ({})", cause["resource"].get<std::string>(), cause["key"].dump(),
                       cause["resourceTable"].get<std::string>(), cause["state"].get<std::string>());
  std::string const table = cause["table"].get<std::string>();
  std::string const state = cause["state"].get<std::string>();
  if (!cause.contains("key")) return fmt::format("an operation of {} ({})", table, state);
  std::string const text = fmt::format("the operation on key {} of {} unit {} ({})", cause["key"].dump(),
                                       table, cause["unit"].dump(), state);
  if (!cause.contains("heldUpBy")) return text;
  Json const& head = cause["heldUpBy"];
  bool const itself = head.contains("key") && head["key"] == cause["key"];
  return itself ? fmt::format("{}, which {}", text, phraseOf(head))
                : fmt::format("{}, which stands behind {}, which {}", text, nameOf(head), phraseOf(head));
}

// "waits for A and waits for B", of an operation.
std::string phraseOf(Json const& operation) {
  std::vector<std::string> phrases;
  for (Json const& cause : operation["waitsFor"]) {
    if (cause["for"] != "queue") {
      phrases.push_back("waits for " + textOf(cause));
      continue;
    }
    Json const& head = cause["heldUpBy"];
    phrases.push_back(fmt::format("stands behind {}, which {}", nameOf(head), phraseOf(head)));
  }
  return fmt::format("{}", fmt::join(phrases, " and "));
}

// What would end the causes, each said once: of a chain, what would end its root.
void addEnds(Json const& causes, std::vector<std::string>& ends) {
  for (Json const& cause : causes) {
    if (cause.contains("heldUpBy")) {
      addEnds(cause["heldUpBy"]["waitsFor"], ends);
      continue;
    }
    std::string const end = cause["until"].get<std::string>();
    if (std::ranges::find(ends, end) == ends.end()) ends.push_back(end);
  }
}

// One waiting operation, and one cause of a summary.
std::string waitingLine(Json const& operation) {
  std::vector<std::string> ends;
  addEnds(operation["waitsFor"], ends);
  std::uint64_t const asked = operation["asked"].get<std::uint64_t>();
  std::string const questions = asked == 0   ? "not asked yet"
                                : asked == 1 ? "asked once"
                                             : fmt::format("asked {} times", asked);
  return fmt::format("{}: {} old, {}, {}; until {}", nameOf(operation), secondsOf(operation["ageMs"]),
                     questions, phraseOf(operation), fmt::join(ends, ", and "));
}

std::string causeLine(Json const& cause) {
  return fmt::format("{:>8}  {}; {} queues, the oldest head {} old, first {}", cause["operations"].dump(),
                     textOf(cause["cause"]), cause["queues"].dump(), secondsOf(cause["oldestMs"]),
                     nameOf(cause["first"]));
}

Json request(WhyOptions const& options) {
  Json operation = {{"op", "why"}, {"id", 1}};
  if (options.all) operation["all"] = true;
  if (!options.table.empty()) operation["table"] = options.table;
  if (!options.unit.empty()) operation["unit"] = options.unit;
  if (!options.key.empty()) operation["key"] = options.key;
  return operation;
}

void print(Json const& message, WhyOptions const& options) {
  if (options.json) {
    Json own = message;
    own.erase("id");
    own.erase("ok");
    if (!own.empty()) fmt::print("{}\n", own.dump());
  } else if (message.contains("operation")) {
    fmt::print("{}\n", waitingLine(message["operation"]));
  } else if (message.contains("causes")) {
    fmt::print("{} operations wait\n", message["queued"].dump());
    for (Json const& cause : message["causes"]) fmt::print("{}\n", causeLine(cause));
  } else if (message["count"] == 0) {
    fmt::print("no operation waits\n");
  }
}

// Asks the agent and prints its answer as it comes.
Pivot::Status askAgent(WhyOptions const& options) {
  AgentClient agent;
  Pivot::Status status = agent.connect(socketPath(options.store));
  if (!status.isOk()) return status;
  agent.send(request(options));
  using Clock = std::chrono::steady_clock;
  auto end = Clock::now() + kPatience;
  for (Json message; !agent.closed() && Clock::now() < end;) {
    if (!agent.receive(message, 100)) continue;
    if (!message.contains("id") || message["id"] != 1) continue;
    end = Clock::now() + kPatience;
    if (!message.value("ok", true)) return Pivot::Status::refused(message["error"].get<std::string>());
    print(message, options);
    if (message.contains("ok")) return status;
  }
  return Pivot::Status::refused("the agent has stopped answering");
}

void printHeldBack(WhyOptions const& options) {
  for (TableInfo const& table : tables()) {
    if (!options.table.empty() && options.table != table.name) continue;
    SteadyReader<LoamTunnelNiLib::InLifModelLogShoalEntry> log(table.logPath);
    Json const held = heldBack(table, log);
    if (held.is_null()) continue;
    if (options.json) {
      Json record = {{"table", table.name}};
      record.update(held);
      fmt::print("{}\n", Json{{"heldBack", std::move(record)}}.dump());
      continue;
    }
    fmt::print(
        "the writer of the hardware holds back {} version {} (unit {}, key {}): it needs {} version {}, "
        "which is applied up to {}\n",
        table.name, held["version"].dump(), held["unit"].dump(), held["key"].dump(),
        held["waitsFor"].get<std::string>(), held["needs"].dump(), held["applied"].dump());
  }
}

}  // namespace

Outcome runWhy(WhyOptions const& options) {
  Pivot::Status status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  // What the writer holds back is worth knowing also when no agent runs.
  status = askAgent(options);
  printHeldBack(options);
  return status.isOk() ? Outcome::done() : Outcome::refused(std::move(status));
}

}  // namespace Inlif
