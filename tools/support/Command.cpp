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
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "Shoal/StoreRoot.h"
#include "Vex/Trace.h"
#include "tools/json/NearName.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

// REQUIRES: it is the root of the process. A store without its locks, such as a copy, is one all the same.
bool isStore(std::string const& directory) {
  for (char const* lock : {"/.lock-agent", "/.lock-writer"})
    if (access((directory + lock).c_str(), F_OK) == 0) return true;
  return !VexSharedMem::StoreRoot::list("").empty();
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    ssize_t const count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

Pivot::Status replaceFile(std::string const& file, std::string const& text, mode_t mode) {
  std::string const fresh = file + ".new";
  int const descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, mode);
  if (descriptor < 0) return systemFailure(fresh, "cannot be made");
  bool const written = writeAll(descriptor, text) && ::fsync(descriptor) == 0;
  Pivot::Status status = written ? Pivot::Status::ok() : systemFailure(fresh, "cannot be written");
  ::close(descriptor);
  if (status.isOk() && ::rename(fresh.c_str(), file.c_str()) != 0)
    status = systemFailure(file, "cannot be replaced");
  if (!status.isOk()) ::unlink(fresh.c_str());
  return status;
}

Pivot::Status numberOption(char const* name, std::string const& text, std::uint64_t least, std::uint64_t most,
                           std::uint64_t& out) {
  if (numberFrom(std::string_view(text), out) && out >= least && out <= most) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--{} {}: expected a whole number from {} to {}", name, text, least, most));
}

Pivot::Status systemFailure(std::string const& path, char const* what) {
  return Pivot::Status::refused(fmt::format("{}: {}: {}", path, what, std::strerror(errno)));
}

Pivot::Status absolutePath(char const* name, std::string const& path, std::string& absolute) {
  std::error_code error;
  absolute = std::filesystem::absolute(path, error).string();
  if (!error) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("{} {}: {}; expected a path, from the root or from a directory that exists", name, path,
                  error.message()));
}

void printRow(char const* name, std::string const& value) {
  fmt::print("{:<26} {}\n", name, value);
}

std::vector<std::string> traceFacilities() {
  std::vector<std::string> names = Vex::TraceControl::facilities();
#define LOAM_INLIF_LINKAGE_FACILITY(Instance, instance, Kind, kind) \
  names.emplace_back(#Instance #Kind "Linkage");
#define LOAM_INLIF_LINKAGE_FACILITIES(Instance, instance) \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_LINKAGE_FACILITY, Instance, instance)
  LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_LINKAGE_FACILITIES)
#undef LOAM_INLIF_LINKAGE_FACILITIES
#undef LOAM_INLIF_LINKAGE_FACILITY
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

Pivot::Status traceLevelsFrom(std::vector<std::string> const& texts, std::string const& head,
                              TraceLevels& out) {
  std::vector<std::string> const known = traceFacilities();
  for (std::string const& text : texts) {
    auto const slash = text.rfind('/');
    std::uint64_t level = 0;
    if (slash == std::string::npos || slash == 0 ||
        !numberFrom(std::string_view(text).substr(slash + 1), level) || level > 9) {
      return Pivot::Status::refused(fmt::format(
          "{} {}: expected FACILITY/LEVEL with a level from 0 to 9, such as InLif1SwTable/8 or */2", head,
          text));
    }
    std::string facility = text.substr(0, slash);
    if (facility != "*" && !std::ranges::binary_search(known, facility)) {
      auto const meant =
          std::ranges::find_if(known, [&](std::string const& one) { return isNear(facility, one); });
      return Pivot::Status::refused(
          fmt::format("{} {}: there is no facility \"{}\"; expected {}", head, text, facility,
                      meant != known.end() ? *meant + ", if that is meant"
                                           : fmt::format("* or one of {}", fmt::join(known, ", "))));
    }
    out.emplace_back(std::move(facility), static_cast<int>(level));
  }
  return Pivot::Status::ok();
}

void traceLevelsAre(TraceLevels const& levels) {
  for (auto const& [facility, level] : levels) Vex::TraceControl::levelIs(facility, level);
}

Pivot::Status tracesAre(std::vector<std::string> const& options) {
  TraceLevels levels;
  Pivot::Status status = traceLevelsFrom(options, "--trace", levels);
  if (status.isOk()) traceLevelsAre(levels);
  return status;
}

void letOutputFail() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void openStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest that is free.
    static_cast<void>(open("/dev/null", descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY));
  }
}

Outcome withWholeOutput(std::function<Outcome()> const& run) {
  auto const notWhole = [](int error) {
    if (error == EPIPE) return Outcome::done(kRefused);
    return Outcome::refused(Pivot::Status::refused(
        fmt::format("standard output: what was printed is not whole: {}", std::strerror(error))));
  };
  Outcome outcome;
  try {
    outcome = run();
  } catch (std::system_error const& error) {  // of fmt and of flushOutput()
    if (!std::ferror(stdout)) throw;
    return notWhole(error.code().value());
  }
  bool const isWhole = std::fflush(stdout) == 0 && !std::ferror(stdout);
  return isWhole || !outcome.status.isOk() ? outcome : notWhole(errno);
}

void flushOutput() {
  if (std::fflush(stdout) != 0)
    throw std::system_error(errno, std::generic_category(), "standard output cannot be written");
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
  } else if (S_ISDIR(found.st_mode) && found.st_uid != geteuid() && geteuid() != 0) {
    // Others could list the folders, and would take what they cannot read for what is not there. Root may ask the agent,
    // and is told of each file that it is not its owner's.
    return Pivot::Status::refused(
        fmt::format("--store {}: it belongs to user {}; expected to be called as that user, not as {}",
                    directory, found.st_uid, geteuid()));
  } else if (!S_ISDIR(found.st_mode)) {
    return Pivot::Status::refused(fmt::format("--store {}: is {}; expected the directory of a store",
                                              directory,
                                              S_ISLNK(found.st_mode) ? "a symbolic link" : "no directory"));
  }
  if (access(directory.c_str(), make ? R_OK | W_OK | X_OK : R_OK | X_OK) != 0) {
    return Pivot::Status::refused(fmt::format("--store {}: {}; expected a directory that this user may {}",
                                              directory, std::strerror(errno), make ? "write" : "read"));
  }
  std::string root;
  if (Pivot::Status status = absolutePath("--store", directory, root); !status.isOk()) return status;
  VexSharedMem::StoreRoot::rootIs(root);
  if (make || isStore(directory)) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--store {}: no store here: no agent or writer has run on it", directory));
}

}  // namespace Inlif
