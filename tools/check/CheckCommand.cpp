#include "tools/check/CheckCommand.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Shoal/StoreRoot.h"
#include "tools/check/StoreCheck.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

// Beside a process that changes the store, a finding counts if so many looks in a row find it.
constexpr int kLooksBesideOwner = 3;

// The locks of both roles. Nothing is written into their files: the pid there is the owner's.
class Locks {
 public:
  explicit Locks(std::string const& store) : store_(store) {}
  ~Locks() { release(); }

  // Refused, with the holder's pid, when a process holds one. `make`: for locks that no process ever took.
  Pivot::Status take(bool make) {
    for (std::size_t i = 0; i < fds_.size(); ++i) {
      std::string const file =
          fmt::format("{}/.lock-{}", store_, StoreRoot::roleName(static_cast<StoreRoot::Role>(i + 1)));
      fds_[i] = ::open(file.c_str(), (make ? O_RDWR | O_CREAT : O_RDONLY) | O_NOFOLLOW | O_CLOEXEC, 0600);
      if (fds_[i] < 0 && (errno != ENOENT || make)) return refuse(file, std::strerror(errno));
      if (fds_[i] < 0 || ::flock(fds_[i], (make ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0) continue;
      char pid[16] = {};
      bool const known = ::pread(fds_[i], pid, sizeof(pid) - 1, 0) > 0;
      return refuse(file, fmt::format("held by process {}", known ? pid : "unknown"));
    }
    return Pivot::Status::ok();
  }
  void release() {
    for (int& fd : fds_) {
      if (fd >= 0) ::close(fd);
      fd = -1;
    }
  }

 private:
  Pivot::Status refuse(std::string const& file, std::string const& why) {
    release();
    return Pivot::Status::refused(fmt::format("{}: {}", file, why));
  }

  std::string const store_;
  std::array<int, 2> fds_{-1, -1};
};

void print(CheckResult const& result, std::vector<std::string> const& moved, bool json) {
  if (!json) {
    for (CheckFinding const& finding : result.findings) fmt::print("{}\n", finding.text());
    for (std::string const& note : result.notes) fmt::print("note: {}\n", note);
    for (std::string const& one : moved) fmt::print("moved aside: {}\n", one);
    fmt::print(
        "{} collections, {} records: {}\n", result.collections, result.records,
        result.findings.empty() ? "nothing found" : fmt::format("{} findings", result.findings.size()));
    return;
  }
  for (CheckFinding const& finding : result.findings) {
    Json line = {{"finding", finding.what}, {"file", finding.file}};
    if (!finding.record.empty()) line["record"] = finding.record;
    if (finding.version != 0) line["version"] = finding.version;
    fmt::print("{}\n", line.dump());
  }
  for (std::string const& note : result.notes) fmt::print("{}\n", Json{{"note", note}}.dump());
  for (std::string const& one : moved) fmt::print("{}\n", Json{{"movedAside", one}}.dump());
  fmt::print("{}\n", Json{{"collections", result.collections},
                          {"records", result.records},
                          {"findings", result.findings.size()}}
                         .dump());
}

Outcome couldNotLook(std::string const& why) {
  fmt::print(stderr, "inlif: check: {}\n", why);
  return Outcome::done(2);
}

}  // namespace

Outcome runCheck(CheckOptions const& options) {
  std::string const store = std::filesystem::absolute(options.store).lexically_normal().string();
  Locks locks(store);
  struct stat root {};
  bool const there = ::stat(store.c_str(), &root) == 0 && S_ISDIR(root.st_mode);
  if (options.repair && there)
    if (Pivot::Status const status = locks.take(true); !status.isOk())
      return couldNotLook(fmt::format("not repaired while a process is at work: {}", status.message()));
  CheckResult result = checkStore(store);
  // A process may have been in the middle of a change. It is asked for only now, and the lock let go at once,
  // since one held here would keep a starting agent out.
  bool atRest = options.repair;
  for (int look = 1; look < kLooksBesideOwner && !atRest && !result.findings.empty(); ++look) {
    atRest = locks.take(false).isOk();
    locks.release();
    CheckResult again = checkStore(store);
    std::erase_if(again.findings, [&](CheckFinding const& finding) {
      return std::ranges::find(result.findings, finding) == result.findings.end();
    });
    result = std::move(again);
  }
  if (!result.problem.empty()) return couldNotLook(result.problem);
  std::vector<std::string> moved;
  Pivot::Status const status = options.repair ? moveAside(result, moved) : Pivot::Status::ok();
  print(result, moved, options.json);
  if (!status.isOk()) return couldNotLook(status.message());
  return Outcome::done(result.exitStatus());
}

}  // namespace Inlif
