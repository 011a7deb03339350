#include "tools/check/CheckCommand.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>

#include "Shoal/RoleLock.h"
#include "Shoal/StoreRoot.h"
#include "tools/agent/operations/ClientsFile.h"
#include "tools/check/StoreCheck.h"
#include "tools/json/ObjectReader.h"
#include "tools/kernel/KernelTarget.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

// Beside a process that changes the store, a finding counts if so many looks in a row find it.
constexpr int kLooksBesideOwner = 3;

// An owner has its collections locked too, which holds also when somebody deleted the file of its role's lock.
Pivot::Status notOwned(StoreRoot::Role role) {
  std::string const name = fmt::format(".manifest-{}.shoal", StoreRoot::roleName(role));
  int const file =
      ::open((StoreRoot::root() + "/" + name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  bool const owned = file >= 0 && ::flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  if (file >= 0) ::close(file);
  if (!owned) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("{} is locked by its owner", name));
}

// The locks of both roles; the texts in them stay the owners'.
Pivot::Status takeLocks(std::array<Shoal::RoleLock, 2>& locks) {
  Pivot::Status status = Pivot::Status::ok();
  for (std::size_t i = 0; i < locks.size() && status.isOk(); ++i) {
    auto const role = static_cast<StoreRoot::Role>(i + 1);
    status = Shoal::RoleLock::take(role, false, locks[i]);
    if (status.isOk()) status = notOwned(role);
  }
  return status;
}

bool nobodyChangesIt() {
  return !StoreRoot::holder(StoreRoot::Role::agent).alive &&
         !StoreRoot::holder(StoreRoot::Role::writer).alive;
}

// The store with what the agent keeps beside its collections, and with `pins` what stands in the kernel. The file of the clients
// is not moved aside: without it a sweep waits for nobody.
CheckResult lookAt(std::string const& store, std::string const& pins) {
  CheckResult result = checkStore(store);
  std::vector<std::string> names;
  if (Pivot::Status status = ClientsFile(store + "/" + ClientsFile::kName).recall(names); !status.isOk())
    result.findings.push_back({ClientsFile::kName, {}, 0, status.message(), {}});
  if (pins.empty() || !result.problem.empty()) return result;
  std::size_t entries = 0;
  if (Pivot::Status const status = comparePinned(pins, entries, result.findings); !status.isOk())
    result.problem = status.message();
  return result;
}

// Empty when no entry with a name is meant, or its configuration cannot be read.
std::string interfaceIn(CheckFinding const& finding, Interfaces& names) {
  return finding.entry ? names.nameOf(finding.entry->table, finding.entry->unit, finding.entry->key)
                       : std::string();
}

void print(CheckResult const& result, std::vector<std::string> const& moved, CheckOptions const& options) {
  Interfaces names;
  if (!options.json) {
    Output const output(options.verbose);
    for (CheckFinding const& finding : result.findings)
      output.print({finding.text(interfaceIn(finding, names))});
    for (std::string const& note : result.notes) output.print({"note: " + note});
    for (std::string const& one : moved) output.print({"moved aside: " + one});
    output.print({fmt::format(
        "{} collections, {} records: {}", result.collections, result.records,
        result.findings.empty() ? "nothing found" : fmt::format("{} findings", result.findings.size()))});
    return;
  }
  for (CheckFinding const& finding : result.findings) {
    Json line = {{"finding", finding.what}, {"file", finding.file}};
    if (!finding.record.empty()) line["record"] = finding.record;
    if (finding.version != 0) line["version"] = finding.version;
    if (std::string name = interfaceIn(finding, names); !name.empty()) line["interface"] = std::move(name);
    fmt::print("{}\n", jsonText(line));
  }
  for (std::string const& note : result.notes) fmt::print("{}\n", jsonText(Json{{"note", note}}));
  for (std::string const& one : moved) fmt::print("{}\n", jsonText(Json{{"movedAside", one}}));
  fmt::print("{}\n", jsonText(Json{{"collections", result.collections},
                                   {"records", result.records},
                                   {"findings", result.findings.size()}}));
}

Outcome couldNotLook(std::string const& why) {
  return Outcome::refused(Pivot::Status::refused("check: " + why));
}

}  // namespace

Outcome runCheck(CheckOptions const& options) {
  std::string store;
  if (Pivot::Status path = absolutePath("--store", options.store, store); !path.isOk())
    return Outcome::refused(std::move(path));
  store = std::filesystem::path(store).lexically_normal().string();
  if (Pivot::Status status = storeIs(store, false); !status.isOk())
    return Outcome::refused(std::move(status));
  std::array<Shoal::RoleLock, 2> locks;
  if (options.repair)
    if (Pivot::Status const status = takeLocks(locks); !status.isOk())
      return couldNotLook(
          fmt::format("{}: not repaired while a process is at work: {}", store, status.message()));
  CheckResult result = lookAt(store, options.pins);
  // A process may have been in the middle of a change.
  bool atRest = options.repair;
  for (int look = 1; look < kLooksBesideOwner && !atRest && !result.findings.empty(); ++look) {
    atRest = nobodyChangesIt();
    CheckResult again = lookAt(store, options.pins);
    std::erase_if(again.findings, [&](CheckFinding const& finding) {
      return std::ranges::find(result.findings, finding) == result.findings.end();
    });
    result = std::move(again);
  }
  if (!result.problem.empty()) return couldNotLook(result.problem);
  std::vector<std::string> moved;
  Pivot::Status const status = options.repair ? moveAside(result, moved) : Pivot::Status::ok();
  print(result, moved, options);
  if (!status.isOk()) return couldNotLook(status.message());
  return Outcome::done(result.findings.empty() ? kWell : kFound);
}

}  // namespace Inlif
