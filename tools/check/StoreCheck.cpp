#include "tools/check/StoreCheck.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <set>

#include "Shoal/StoreRoot.h"
#include "tools/check/TableCheck.h"

namespace Inlif {

using VexSharedMem::StoreRoot;

std::string CheckFinding::text(std::string const& interface) const {
  std::string place = file;
  if (!record.empty()) place += ", " + record;
  if (!interface.empty()) place += fmt::format(" ({})", interface);
  if (version != 0) place += fmt::format(", version {}", version);
  return fmt::format("{}: {}", place, what);
}

CheckResult checkStore(std::string const& directory, CheckLimits const& limits) {
  if (StoreRoot::root() != directory) StoreRoot::rootIs(directory);
  CheckResult result;
  StoreContents contents;
  contents.gather(limits, result);
  if (!result.problem.empty()) return result;
  for (std::size_t i = 0; i < kTables; ++i) checkTable(contents, i, result);
  checkNeeds(contents, result);
  return result;
}

namespace {

// Opens a folder below `parent` without following a symbolic link; -1 if that is not possible.
int folderAt(int parent, std::string const& name) {
  return ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

Pivot::Status moveOne(int root, int lost, std::string const& path, std::string& aside) {
  int folder = ::dup(root);
  std::string leaf = path;
  for (std::size_t slash = leaf.find('/'); slash != std::string::npos && folder >= 0;
       slash = leaf.find('/')) {
    int const below = folderAt(folder, leaf.substr(0, slash));
    ::close(folder);
    folder = below;
    leaf.erase(0, slash + 1);
  }
  aside = path;
  std::ranges::replace(aside, '/', '%');
  aside = fmt::format("{}{}{:x}-{:x}", aside.substr(0, 200), kAsideMark, std::time(nullptr), ::getpid());
  bool const moved = folder >= 0 && ::renameat2(folder, (leaf + ".shoal").c_str(), lost, aside.c_str(),
                                                RENAME_NOREPLACE) == 0;
  int const error = errno;
  if (folder >= 0) ::close(folder);
  return moved
             ? Pivot::Status::ok()
             : Pivot::Status::refused(fmt::format("{} can't be moved aside: {}", path, std::strerror(error)));
}

}  // namespace

Pivot::Status moveAside(CheckResult const& result, std::vector<std::string>& moved) {
  std::set<std::string> paths;
  for (CheckFinding const& finding : result.findings)
    if (!finding.aside.empty()) paths.insert(finding.aside);
  if (paths.empty()) return Pivot::Status::ok();
  int const root = folderAt(AT_FDCWD, StoreRoot::root());
  if (root >= 0) ::mkdirat(root, ".lost", 0700);
  int const lost = root >= 0 ? folderAt(root, ".lost") : -1;
  Pivot::Status status = Pivot::Status::ok();
  if (lost < 0)
    status = Pivot::Status::refused(
        fmt::format("store {}: folder for damaged files: {}", StoreRoot::root(), std::strerror(errno)));
  for (std::string const& path : paths) {
    struct stat found {};
    if (!status.isOk() || ::fstatat(root, (path + ".shoal").c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
      continue;
    std::string aside;
    status = moveOne(root, lost, path, aside);
    if (status.isOk()) moved.push_back(fmt::format("{} -> .lost/{}", path, aside));
  }
  if (lost >= 0) ::close(lost);
  if (root >= 0) ::close(root);
  return status;
}

}  // namespace Inlif
