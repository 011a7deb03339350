#include "tools/show/ShowCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <thread>
#include <vector>

#include "tools/show/AgentView.h"
#include "tools/show/Dumps.h"
#include "tools/show/ErrorsView.h"
#include "tools/show/FailuresView.h"
#include "tools/show/Follow.h"
#include "tools/show/HeldBack.h"
#include "tools/show/Interfaces.h"
#include "tools/show/LatencyView.h"
#include "tools/show/Selection.h"
#include "tools/show/StatusView.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

std::string versionText(Json const& version) {
  return version.is_null() ? "-" : version.dump();
}

// How far the clients of a unit have come with what stood in it.
std::string markedText(Json const& unit) {
  std::uint64_t const restored = unit["restored"].get<std::uint64_t>();
  if (restored == 0) return " so far";
  return fmt::format(" so far ({} %)",
                     100 * std::min(restored, unit["marked"].get<std::uint64_t>()) / restored);
}

void printRestart(std::string const& table, Json const& unit) {
  if (!unit.contains("restored")) return;
  fmt::print("{} unit {}: {} restored, {} marked{}, {} identical writes suppressed, {} swept\n", table,
             unit["unit"].dump(), unit["restored"].dump(), unit["marked"].dump(),
             unit["marking"].get<bool>() ? markedText(unit) : "", unit["suppressed"].dump(),
             unit["swept"].dump());
}

void printClients(Json const& clients) {
  for (Json const& client : clients) {
    auto const says = [&](char const* member, char const* yes, char const* no) {
      return client[member].get<bool>() ? yes : no;
    };
    fmt::print("client {}: {}, {}, {}\n", client["name"].get<std::string>(),
               says("registered", "registered", "not here yet"),
               says("unitsMade", "units made", "units not made yet"),
               says("replayed", "has written again", "has not written all again"));
  }
}

void printUnserved(std::string const& table, Json const& places) {
  std::vector<std::string> units;
  for (Json const& place : places) units.push_back(place["unit"].dump());
  fmt::print("{} has no table yet for units {}\n", table, fmt::join(units, ", "));
}

void printTables(std::vector<Json> const& view) {
  fmt::print("{:<8} {:>10} {:>10} {:>10} {:>10} {:>10} {:>10}\n", "table", "written", "announced", "applied",
             "reported", "log", "image");
  for (Json const& one : view) {
    fmt::print("{:<8} {:>10} {:>10} {:>10} {:>10} {:>10} {:>10}\n", one["table"].get<std::string>(),
               versionText(one["written"]), versionText(one["announced"]), versionText(one["applied"]),
               versionText(one["reported"]), one.contains("logRecords") ? one["logRecords"].dump() : "-",
               one.contains("imageEntries") ? one["imageEntries"].dump() : "-");
  }
  if (!view.empty() && view.front().contains("clients")) printClients(view.front()["clients"]);
  for (Json const& one : view) {
    std::string const table = one["table"].get<std::string>();
    for (Json const& unit : one["units"]) {
      if (unit.contains("entries"))
        fmt::print("{} unit {}: {} live, {} removed and not yet cleaned away\n", table, unit["unit"].dump(),
                   unit["entries"].dump(), unit["inDeletion"].dump());
      else
        fmt::print("{} unit {}: cannot be read: {}\n", table, unit["unit"].dump(),
                   unit["problem"].get<std::string>());
      printRestart(table, unit);
    }
    if (one.contains("unserved") && !one["unserved"].empty()) printUnserved(table, one["unserved"]);
    if (one.contains("failures") || one.contains("unlistedFailures"))
      fmt::print("{}: {} failed in the hardware; see inlif show failures\n", table,
                 one.value("failures", 0ULL) + one.value("unlistedFailures", 0ULL));
    if (one.contains("behind")) fmt::print("{}\n", behindText(one));
    if (one.contains("problem")) fmt::print("{}: {}\n", table, one["problem"].get<std::string>());
    if (!one.contains("heldBack")) continue;
    fmt::print("{}\n", heldBackText(table, one["heldBack"]));
  }
}

void printStatus(std::vector<Json> const& view, Json const& processes, bool json) {
  if (json) {
    fmt::print("{}\n", processes.dump());
    for (Json const& one : view) fmt::print("{}\n", one.dump());
    return;
  }
  for (auto const& [name, process] : processes.items()) fmt::print("{}\n", processText(name, process));
  printTables(view);
}

Outcome showStatus(std::string const& store, Selection const& selection, bool follow) {
  std::vector<Json> last;
  Outcome outcome;
  do {
    Json const processes = processesJson();
    std::vector<Json> view = statusView(selection);
    outcome = addAgentView(store, view);
    if (view != last) {
      printStatus(view, processes, selection.json);
      std::fflush(stdout);
      last = std::move(view);
    }
    if (follow) std::this_thread::sleep_for(kFollow);
  } while (follow && !std::ferror(stdout));
  return outcome;
}

// What `show` has to show, and which of its options mean something there.
struct View {
  char const* name;
  bool hasTables;
  bool hasKeys;
  bool follows;
};
constexpr View kViews[] = {{"config", true, true, true},    {"log", true, true, true},
                           {"image", true, true, true},     {"status", true, false, true},
                           {"latency", true, false, true},  {"failures", true, true, false},
                           {"errors", false, false, false}, {"interface", true, false, false}};

Pivot::Status viewFrom(ShowOptions const& options, View& view) {
  auto const found = std::ranges::find(kViews, options.what, &View::name);
  if (found == std::end(kViews)) {
    return Pivot::Status::refused(
        fmt::format("show {}: expected one of {}", options.what, fmt::join(viewNames(), ", ")));
  }
  view = *found;
  bool const isOfInterface = options.what == "interface";
  struct Given {
    char const* option;
    bool isGiven;
    bool means;
  };
  for (Given const& given :
       {Given{"--table", !options.table.empty(), view.hasTables},
        Given{"--unit", !options.unit.empty(), view.hasTables},
        Given{"--key", !options.key.empty(), view.hasKeys}, Given{"--follow", options.follow, view.follows},
        Given{"a name", !options.interface.empty(), isOfInterface}}) {
    if (given.isGiven && !given.means)
      return Pivot::Status::refused(fmt::format("show {}: {} means nothing here; expected {}--json, or none",
                                                view.name, given.option,
                                                view.follows     ? "--table, --unit, --follow, "
                                                : view.hasKeys   ? "--table, --unit, --key, "
                                                : view.hasTables ? "--table, --unit, "
                                                                 : ""));
  }
  if (isOfInterface && options.interface.empty())
    return Pivot::Status::refused(
        "show interface: expected a name, such as Ethernet4 or \"Vlan10|Ethernet4\"");
  return Pivot::Status::ok();
}

}  // namespace

std::vector<std::string> viewNames() {
  std::vector<std::string> names;
  for (View const& view : kViews) names.emplace_back(view.name);
  return names;
}

Outcome runShow(ShowOptions const& given) {
  ShowOptions options = given;
  View view{};
  Selection selection;
  Pivot::Status status = viewFrom(options, view);
  Pivot::Status const store = storeIs(options.store, false);
  if (status.isOk() && store.isOk())
    if (Pivot::Status found = findInterface(options.table, options.unit, options.key); !found.isOk())
      return Outcome::refused(std::move(found));
  if (status.isOk()) status = Selection::from(options, selection);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = store;
  bool const dumpsWrites = options.what == "log" || options.what == "image";
  if (status.isOk() && !options.follow && !dumpsWrites) status = selection.unitIsThere();
  if (!status.isOk()) return Outcome::refused(std::move(status));
  if (options.what == "interface") return showInterface(selection, options.interface);
  if (options.what == "errors") return showErrors(options.json);
  if (options.what == "failures") return Outcome::done(showFailures(selection) ? kWell : kFound);
  if (options.what == "latency") return showLatency(options.store, selection, options.follow);
  if (options.what == "status") return showStatus(options.store, selection, options.follow);
  Dump dump(selection, options.what);
  return printAndFollow([&] { return dump.print(); }, options.follow);
}

}  // namespace Inlif
