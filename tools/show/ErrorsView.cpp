#include "tools/show/ErrorsView.h"

#include <fmt/format.h>

#include "tools/support/ErrorFile.h"
#include "tools/support/ProcessView.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

void printErrors(StoreRoot::Role role, std::vector<Json> const& errors, Json const& kept) {
  for (Json error : errors) {
    error["process"] = StoreRoot::roleName(role);
    error["pid"] = kept["pid"];
    fmt::print("{}\n", jsonText(error));
  }
}

std::vector<Line> errorLines(std::vector<Json> const& errors) {
  TextTable out({{"times", 0, kRight}, {"since"}, {"last"}, {"where: the text told last"}});
  for (Json const& error : errors) {
    std::string const origin = error["origin"].get<std::string>();
    out.add({jsonText(error["count"]), error["since"].get<std::string>(), error["last"].get<std::string>(),
             origin + (origin.empty() ? "" : ": ") + error["text"].get<std::string>()});
  }
  return out.lines();
}

void showErrorsOf(StoreRoot::Role role, Selection const& selection) {
  Json kept;
  std::vector<Json> const errors = keptErrors(role, kept);
  if (selection.json) return printErrors(role, errors, kept);
  Output const output(selection.verbose);
  Json const process = processJson(role);
  output.print(processLine(StoreRoot::roleName(role), process));
  if (kept.is_null()) {
    if (process.contains("pid")) output.print({"  it has kept no errors"});
    return;
  }
  // A process that came when no room was left has not kept any; what stands is of the one before it.
  if (kept.value("since", "") != process.value("since", "-"))
    output.print({fmt::format("  of the process before it, {} since {}:", jsonText(kept["pid"]),
                              kept.value("since", "?"))});
  if (errors.empty()) return output.print({"  no errors"});
  output.print(errorLines(errors));
}

}  // namespace

Outcome showErrors(Selection const& selection) {
  for (StoreRoot::Role const role : {StoreRoot::Role::agent, StoreRoot::Role::writer})
    showErrorsOf(role, selection);
  return Outcome::done();
}

}  // namespace Inlif
