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
#include "tools/show/Interfaces.h"
#include "tools/show/LatencyView.h"
#include "tools/show/Selection.h"
#include "tools/show/StatusText.h"
#include "tools/show/StatusView.h"
#include "tools/support/ProcessView.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

void printStatus(std::vector<Json> const& view, Json const& processes, Selection const& selection) {
  if (!selection.json)
    return Output(selection.verbose).print(statusLines(view, processes, selection.verbose));
  fmt::print("{}\n", jsonText(processes));
  for (Json const& one : view) fmt::print("{}\n", jsonText(one));
}

Outcome showStatus(std::string const& store, Selection const& selection, bool follow) {
  std::vector<Json> last;
  Outcome outcome;
  do {
    Json const processes = processesJson();
    std::vector<Json> view = statusView(selection);
    outcome = addAgentView(store, view);
    if (view != last) {
      printStatus(view, processes, selection);
      flushOutput();
      last = std::move(view);
    }
    if (follow) std::this_thread::sleep_for(kFollow);
  } while (follow);
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
      return Pivot::Status::refused(
          fmt::format("show {}: {} means nothing here; expected {}{}{}--json, --verbose, or none", view.name,
                      given.option, view.hasTables ? "--table, --unit, " : "", view.hasKeys ? "--key, " : "",
                      view.follows ? "--follow, " : ""));
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
  if (Pivot::Status status = viewFrom(options, view); !status.isOk())
    return Outcome::wrong(std::move(status));
  if (Outcome selected = selectPlace(options, selection); !selected.isWell()) return selected;
  bool const dumpsWrites = options.what == "log" || options.what == "image";
  if (!options.follow && !dumpsWrites)
    if (Pivot::Status status = selection.unitIsThere(); !status.isOk())
      return Outcome::refused(std::move(status));
  if (options.what == "interface") return showInterface(selection, options.interface);
  if (options.what == "errors") return showErrors(selection);
  if (options.what == "failures") return Outcome::done(showFailures(selection) ? kWell : kFound);
  if (options.what == "latency") return showLatency(options.store, selection, options.follow);
  if (options.what == "status") return showStatus(options.store, selection, options.follow);
  Dump dump(selection, options.what);
  return printAndFollow([&] { return dump.print(); }, options.follow);
}

}  // namespace Inlif
