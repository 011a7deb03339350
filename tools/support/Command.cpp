#include "tools/support/Command.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "Shoal/StoreRoot.h"
#include "Vex/Trace.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

// REQUIRES: it is the root of the process. A store without its locks, such as a copy, is one all the same.
bool isStore(std::string const& directory) {
  for (char const* lock : {"/.lock-agent", "/.lock-writer"})
    if (access((directory + lock).c_str(), F_OK) == 0) return true;
  return !VexSharedMem::StoreRoot::list("").empty();
}

}  // namespace

Pivot::Status numberOption(char const* name, std::string const& text, std::uint64_t least, std::uint64_t most,
                           std::uint64_t& out) {
  if (numberFrom(std::string_view(text), out) && out >= least && out <= most) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--{} {}: expected a whole number from {} to {}", name, text, least, most));
}

Pivot::Status systemFailure(std::string const& path, char const* what) {
  return Pivot::Status::refused(fmt::format("{}: {}: {}", path, what, std::strerror(errno)));
}

void printRow(char const* name, std::string const& value) {
  fmt::print("{:<26} {}\n", name, value);
}

Pivot::Status tracesAre(std::vector<std::string> const& options) {
  std::vector<std::pair<std::string, int>> levels;
  for (std::string const& option : options) {
    auto const slash = option.rfind('/');
    std::uint64_t level = 0;
    if (slash == std::string::npos || slash == 0 ||
        !numberFrom(std::string_view(option).substr(slash + 1), level) || level > 9) {
      return Pivot::Status::refused(fmt::format(
          "--trace {}: expected FACILITY/LEVEL with a level from 0 to 9, such as InLif1SwTable/8 or */2",
          option));
    }
    std::string facility = option.substr(0, slash);
    std::vector<std::string> const known = Vex::TraceControl::facilities();
    if (facility != "*" && !std::ranges::binary_search(known, facility)) {
      return Pivot::Status::refused(
          fmt::format("--trace {}: there is no facility \"{}\"; expected * or one of {}", option, facility,
                      fmt::join(known, ", ")));
    }
    levels.emplace_back(std::move(facility), static_cast<int>(level));
  }
  for (auto const& [facility, level] : levels) Vex::TraceControl::levelIs(facility, level);
  return Pivot::Status::ok();
}

void letOutputFail() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void openStandardDescriptors() {
  int opened = 0;
  while (opened >= 0 && opened <= STDERR_FILENO) opened = open("/dev/null", O_RDWR);
  if (opened > STDERR_FILENO) close(opened);
}

Pivot::Status signalDescriptor(std::vector<int> const& signals, int& descriptor) {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : signals) sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  descriptor = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor >= 0) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("signals cannot be taken: {}", std::strerror(errno)));
}

Pivot::Status storeIs(std::string const& directory, bool make) {
  struct stat found {};
  if (lstat(directory.c_str(), &found) != 0) {
    if (errno != ENOENT || !make) {
      return Pivot::Status::refused(
          fmt::format("--store {}: {}; expected the directory of a store", directory, std::strerror(errno)));
    }
    // A neighbour that starts now may be faster; whose directory it is will be seen when a role is claimed.
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
      return Pivot::Status::refused(
          fmt::format("--store {}: cannot be made: {}; expected a path in a directory that may be written",
                      directory, std::strerror(errno)));
    }
  } else if (!S_ISDIR(found.st_mode)) {
    return Pivot::Status::refused(fmt::format("--store {}: is {}; expected the directory of a store",
                                              directory,
                                              S_ISLNK(found.st_mode) ? "a symbolic link" : "no directory"));
  }
  if (access(directory.c_str(), make ? R_OK | W_OK | X_OK : R_OK | X_OK) != 0) {
    return Pivot::Status::refused(fmt::format("--store {}: {}; expected a directory that this user may {}",
                                              directory, std::strerror(errno), make ? "write" : "read"));
  }
  VexSharedMem::StoreRoot::rootIs(directory);
  if (make || isStore(directory)) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--store {}: no store here: no agent or writer has run on it", directory));
}

}  // namespace Inlif
