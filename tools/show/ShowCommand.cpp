#include "tools/show/ShowCommand.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "tools/show/AgentView.h"
#include "tools/show/Dumps.h"
#include "tools/show/Follow.h"
#include "tools/show/LatencyView.h"
#include "tools/show/Selection.h"
#include "tools/show/StatusView.h"

namespace Inlif {
namespace {

std::string versionText(Json const& version) {
  return version.is_null() ? "-" : version.dump();
}

void printRestart(std::string const& table, Json const& unit) {
  if (!unit.contains("restored")) return;
  fmt::print("{} unit {}: {} restored, {} marked{}, {} identical writes suppressed, {} swept\n", table,
             unit["unit"].dump(), unit["restored"].dump(), unit["marked"].dump(),
             unit["marking"].get<bool>() ? " so far" : "", unit["suppressed"].dump(), unit["swept"].dump());
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

void printStatus(std::vector<Json> const& view) {
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
      if (unit.contains("live"))
        fmt::print("{} unit {}: {} live, {} removed and not yet cleaned away\n", table, unit["unit"].dump(),
                   unit["live"].dump(), unit["removed"].dump());
      else
        fmt::print("{} unit {}: cannot be read: {}\n", table, unit["unit"].dump(),
                   unit["unreadable"].get<std::string>());
      printRestart(table, unit);
    }
    if (one.contains("unserved") && !one["unserved"].empty())
      fmt::print("{} has no table yet for units {}\n", table, one["unserved"].dump());
    if (one.contains("problem")) fmt::print("{}: {}\n", table, one["problem"].get<std::string>());
    if (!one.contains("heldBack")) continue;
    Json const& held = one["heldBack"];
    fmt::print(
        "{} version {} (unit {}, key {}) is held back: it waits for {} version {}, which is applied up to "
        "{}\n",
        table, held["version"].dump(), held["unit"].dump(), held["key"].dump(),
        held["waitsFor"].get<std::string>(), held["needs"].dump(), held["applied"].dump());
  }
}

Outcome showStatus(Selection const& selection, bool follow) {
  std::vector<Json> last;
  do {
    std::vector<Json> view = statusView(selection);
    addAgentView(view);
    if (view != last) {
      if (selection.json) {
        for (Json const& one : view) fmt::print("{}\n", one.dump());
      } else {
        printStatus(view);
      }
      std::fflush(stdout);
      last = std::move(view);
    }
    if (follow) std::this_thread::sleep_for(kFollow);
  } while (follow && !std::ferror(stdout));
  return Outcome::done();
}

}  // namespace

Outcome runShow(ShowOptions const& options) {
  Selection selection;
  Pivot::Status status = Selection::from(options, selection);
  std::unique_ptr<Dump> dump;
  if (options.what == "config") dump = std::make_unique<ConfigDump>(selection);
  if (options.what == "log") dump = std::make_unique<LogDump>(selection);
  if (options.what == "image") dump = std::make_unique<ImageDump>(selection);
  if (status.isOk() && !dump && options.what != "status" && options.what != "latency") {
    status = Pivot::Status::refused(
        fmt::format("show {}: expected config, log, status, image or latency", options.what));
  }
  if (status.isOk()) status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  if (options.what == "latency") return showLatency(options.store, selection, options.follow);
  if (!dump) return showStatus(selection, options.follow);
  return printAndFollow([&] { return dump->print(); }, options.follow);
}

}  // namespace Inlif
