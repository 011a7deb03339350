#include "tools/show/WhyCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <vector>

#include "tools/demo/AgentClient.h"
#include "tools/show/FailuresView.h"
#include "tools/show/HeldBack.h"
#include "tools/show/Interfaces.h"
#include "tools/support/ProcessView.h"
#include "tools/support/Text.h"

namespace Inlif {

using VexSharedMem::StoreRoot;

namespace {

std::string nameOf(Json const& operation) {
  std::string const does = operation["does"].get<std::string>();
  std::string const place =
      fmt::format("{} unit {}", operation["table"].get<std::string>(), jsonText(operation["unit"]));
  if (does == "removeAll") return fmt::format("{} removeAll", place);
  return fmt::format("{} {} of {}", place, does, keyText(operation));
}

std::string ageOf(Json const& milliseconds) {
  return durationText(std::chrono::milliseconds(milliseconds.get<std::uint64_t>()));
}

std::string phraseOf(Json const& operation);

// What is waited for.
std::string causeText(Json const& cause) {
  std::string const kind = cause["for"].get<std::string>();
  if (kind == "turn") return "nothing more";
  if (kind == "room")
    return fmt::format("room in {} unit {}: {}", cause["table"].get<std::string>(), jsonText(cause["unit"]),
                       cause["why"].get<std::string>());
  if (kind == "resource")
    return fmt::format("{} {} of {} ({})", cause["resource"].get<std::string>(), jsonText(cause["key"]),
                       cause["resourceTable"].get<std::string>(), cause["state"].get<std::string>());
  std::string const table = cause["table"].get<std::string>();
  std::string const state = cause["state"].get<std::string>();
  if (!cause.contains("key")) return fmt::format("an operation of {} ({})", table, state);
  std::string const text = fmt::format("the operation on {} of {} unit {} ({})", keyText(cause), table,
                                       jsonText(cause["unit"]), state);
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
      phrases.push_back("waits for " + causeText(cause));
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

std::string waitingText(Json const& operation) {
  std::vector<std::string> ends;
  addEnds(operation["waitsFor"], ends);
  std::uint64_t const asked = operation["asked"].get<std::uint64_t>();
  std::string const questions = asked == 0   ? "not asked yet"
                                : asked == 1 ? "asked once"
                                             : fmt::format("asked {} times", asked);
  return fmt::format("{}: {} old, {}, {}; until {}", nameOf(operation), ageOf(operation["ageMs"]), questions,
                     phraseOf(operation), fmt::join(ends, ", and "));
}

Json request(WhyOptions const& options) {
  Json operation = {{"op", "why"}, {"id", 1}};
  if (options.all) operation["all"] = true;
  addPlace(options.place, operation);
  return operation;
}

void print(Json const& message, ShowOptions const& options) {
  Output const output(options.verbose);
  if (options.json) {
    Json own = message;
    own.erase("id");
    own.erase("ok");
    if (!own.empty()) fmt::print("{}\n", jsonText(own));
  } else if (message.contains("operation")) {
    Output(true).print({waitingText(message["operation"])});  // a sentence: its end is what was asked for
  } else if (message.contains("causes")) {
    output.print({fmt::format("{} operations wait", jsonText(message["queued"]))});
    output.print(causeLines(message["causes"], SIZE_MAX));
  } else if (message["count"] == 0) {
    output.print({"no operation waits"});
  }
}

// Asks the agent and prints its answer as it comes. `end` is its last line.
Outcome askAgent(WhyOptions const& options, Json& end) {
  AgentClient agent;
  Outcome outcome = connectToAgent(options.place.store, agent);
  if (!outcome.isWell()) return outcome;
  Interfaces interfaces;
  auto const line = [&](Json message) {
    interfaces.addTo(message);
    print(message, options.place);
  };
  outcome = agent.outcome(agent.ask(request(options), end, AgentClient::kPatience, line));
  if (outcome.isWell()) line(end);
  return outcome;
}

bool isMeant(ShowOptions const& options, Json const& table) {
  return options.table.empty() || table == options.table;
}

// The writer of the hardware and how far it is behind, as the store tells it: without an agent nobody knows for how long.
Json hardwareOfStore() {
  Json behind = Json::array();
  for (TableInfo const& table : tables()) {
    std::uint64_t const versions = behindOf(announcedVersion(table), reportedVersion(table));
    if (versions != 0) behind.push_back({{"table", table.name}, {"behind", versions}});
  }
  return {{"writer", processJson(StoreRoot::Role::writer)}, {"tablesBehind", std::move(behind)}};
}

// What waits for the writer of the hardware. Without one, that is told, and not that it holds something back.
void printBehind(ShowOptions const& options, Json const& hardware) {
  Json const& behind = hardware["tablesBehind"];
  if (std::ranges::none_of(behind, [&](Json const& one) { return isMeant(options, one["table"]); })) return;
  Output const output(options.verbose);
  output.print(processLine("writer of the hardware", hardware["writer"]));
  for (Json const& one : behind) {
    if (isMeant(options, one["table"])) output.print({behindText(one)});
  }
}

void printHeldBack(ShowOptions const& options) {
  Interfaces interfaces;
  for (TableInfo const& table : tables()) {
    if (!isMeant(options, table.name)) continue;
    Shoal::SteadyReader<LoamTunnelNiLib::InLifModelLogShoalEntry> log(table.logPath);
    Json const held = heldBack(table, log);
    if (held.is_null()) continue;
    Json record = {{"table", table.name}};
    record.update(held);
    interfaces.addTo(record);
    if (options.json)
      fmt::print("{}\n", jsonText(Json{{"heldBack", std::move(record)}}));
    else
      Output(options.verbose).print({heldBackText(table.name, record)});
  }
}

}  // namespace

std::vector<Line> causeLines(Json const& causes, std::size_t most) {
  TextTable out({{"operations", 0, kRight}, {"queues", 0, kRight}, {"oldest", 0, kRight}, {"wait for"}});
  for (std::size_t i = 0; i < causes.size() && i < most; ++i) {
    Json const& cause = causes[i];
    out.add({jsonText(cause["operations"]), jsonText(cause["queues"]), ageOf(cause["oldestMs"]),
             fmt::format("{}; the oldest is {}", causeText(cause["cause"]), nameOf(cause["oldest"]))});
  }
  std::vector<Line> lines;
  if (!out.isEmpty()) lines = out.lines();
  if (causes.size() > most)
    lines.push_back({fmt::format("and {} causes more; see inlif why", causes.size() - most)});
  return lines;
}

Outcome runWhy(WhyOptions const& given) {
  WhyOptions options = given;
  ShowOptions& place = options.place;
  Selection selection;
  if (Outcome selected = selectPlace(place, selection); !selected.isWell()) return selected;
  Json end;
  Outcome outcome = askAgent(options, end);
  if (outcome.exitStatus == kRefused) return outcome;
  // What waits for the writer is worth knowing also when no agent answers.
  Json const hardware = outcome.isWell() ? end : hardwareOfStore();
  if (!place.json)
    printBehind(place, hardware);
  else if (!outcome.isWell())
    fmt::print("{}\n", jsonText(hardware));
  if (hardware["writer"]["alive"].get<bool>()) printHeldBack(place);
  // What has left the queues and the log, and is not in the hardware.
  tellFailures(selection, place.table.empty() && !options.all);
  return outcome;
}

}  // namespace Inlif
