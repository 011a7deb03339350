#include "tools/show/ErrorsView.h"

#include <fmt/format.h>

#include "tools/support/ErrorFile.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

void showErrorsOf(StoreRoot::Role role, bool json) {
  Json kept;
  std::vector<Json> const errors = keptErrors(role, kept);
  Json const process = processJson(role);
  // A process that came when no room was left has not kept any; what stands is of the one before it.
  bool const own = !kept.is_null() && kept.value("since", "") == process.value("since", "-");
  if (json) {
    for (Json error : errors) {
      error["process"] = StoreRoot::roleName(role);
      error["pid"] = kept["pid"];
      fmt::print("{}\n", error.dump());
    }
    return;
  }
  fmt::print("{}\n", processText(StoreRoot::roleName(role), process));
  if (kept.is_null()) return process.contains("pid") ? fmt::print("  it has kept no errors\n") : void();
  if (!own)
    fmt::print("  of the process before it, {} since {}:\n", kept["pid"].dump(), kept.value("since", "?"));
  if (errors.empty()) return fmt::print("  no errors\n");
  for (Json const& error : errors) {
    std::string const origin = error["origin"].get<std::string>();
    fmt::print("{:>8}  {}  {}  {}{}{}\n", error["count"].dump(), error["since"].get<std::string>(),
               error["last"].get<std::string>(), origin, origin.empty() ? "" : ": ",
               error["text"].get<std::string>());
  }
}

}  // namespace

Outcome showErrors(bool json) {
  if (!json) fmt::print("{:>8}  {:<24}  {:<24}  {}\n", "times", "since", "last", "where: the text told last");
  for (StoreRoot::Role const role : {StoreRoot::Role::agent, StoreRoot::Role::writer})
    showErrorsOf(role, json);
  return Outcome::done();
}

}  // namespace Inlif
