#include "Shoal/StoreRoot.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "Shoal/CrashPoint.h"
#include "Shoal/EntityManager.h"
#include "Shoal/FileLayout.h"
#include "Shoal/LostFolder.h"
#include "Shoal/Manifest.h"
#include "Shoal/Ownership.h"
#include "Shoal/RoleLock.h"
#include "Shoal/RootDirectory.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace VexSharedMem {
namespace {

using Shoal::Descriptor;
using Shoal::Manifest;
using Shoal::RoleLock;

Vex::TraceHandle traceHandle("Shoal");

constexpr std::uint64_t kLeastFreeBytes = 1 << 20;

struct Claimed {
  RoleLock lock;
  std::unique_ptr<Manifest> manifest;
};

struct State {
  std::string directory;
  std::array<Claimed, 3> roles;  // by StoreRoot::Role

  Claimed& of(StoreRoot::Role role) { return roles[static_cast<std::size_t>(role)]; }
};

State& state() {
  static State it;
  return it;
}

Pivot::Status refuse(std::string_view why) {
  return Pivot::Status::refused(fmt::format("store {}: {}", StoreRoot::root(), why));
}

// The root is closed to others. One that a user made by hand for this, still empty, is closed for him.
Pivot::Status checkRoot(Descriptor const& root) {
  struct stat status;
  if (::fstat(root.get(), &status) != 0) return refuse(Shoal::errorText(errno));
  if (status.st_uid != ::geteuid())
    return refuse(fmt::format("it belongs to user {}, expected {}", status.st_uid, ::geteuid()));
  std::error_code error;
  if ((status.st_mode & 077) != 0 && std::filesystem::is_empty(StoreRoot::root(), error) &&
      ::fchmod(root.get(), 0700) != 0)
    return refuse(Shoal::errorText(errno));
  // Looked at again: a neighbour that starts now may have been faster, closed it, and put its lock there.
  if (::fstat(root.get(), &status) != 0) return refuse(Shoal::errorText(errno));
  if ((status.st_mode & 077) != 0)
    return refuse(
        fmt::format("it is open to other users (mode {:04o}, expected 0700)", status.st_mode & 07777));
  if (::faccessat(root.get(), ".", R_OK | W_OK | X_OK, AT_EACCESS) != 0)
    return refuse(Shoal::errorText(errno));
  return Pivot::Status::ok();
}

// Whether a role that has nothing below the root yet may begin. One that has is let in with no byte free: it
// must be able to start again, and its collections tell themselves what they can't take.
Pivot::Status checkSpace(Descriptor const& root, StoreRoot::Role role) {
  int error = 0;
  struct statvfs system;
  if (Shoal::openFileOf(Manifest::pathOf(role), false, error).isOpen() ||
      ::fstatvfs(root.get(), &system) != 0 || system.f_blocks == 0)
    return Pivot::Status::ok();
  std::uint64_t const free = std::uint64_t{system.f_bavail} * system.f_frsize;
  if (free >= kLeastFreeBytes) return Pivot::Status::ok();
  return refuse(fmt::format("{} bytes are free, expected at least {}", free, kLeastFreeBytes));
}

// A file in the staging folder that says it was retired lost its name to a new one, and is kept aside; any
// other never had a name.
bool wasRetired(int folder, char const* name) {
  Descriptor const file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  Shoal::FileHeader header;
  if (!file.isOpen() || ::pread(file.get(), static_cast<void*>(&header), sizeof(header), 0) != sizeof(header))
    return false;
  return static_cast<std::uint32_t>(header.control.retired.load(std::memory_order_relaxed)) == 1;
}

// What a kill during the making or the exchange of a file left behind.
void sweepStaging(StoreRoot::Role role) {
  int error = 0;
  Descriptor staging = Shoal::openOwnFolder(Shoal::kStagingFolder, error);
  if (!staging.isOpen()) return;
  DIR* entries = ::fdopendir(staging.get());
  if (entries == nullptr) return;
  int const folder = staging.take();
  std::string const ours = fmt::format("{}-", StoreRoot::roleName(role));
  while (dirent const* entry = ::readdir(entries)) {
    if (!std::string_view(entry->d_name).starts_with(ours)) continue;
    if (!wasRetired(folder, entry->d_name))
      ::unlinkat(folder, entry->d_name, 0);
    else if (Pivot::Status const status = Shoal::keepAside(folder, entry->d_name, {}); !status)
      VEX_TRACE(traceHandle, 1, "{}", status.message());
    LOAM_CRASH_POINT("claim: file cleared from staging");
  }
  ::closedir(entries);
}

}  // namespace

char const* StoreRoot::roleName(Role role) {
  switch (role) {
    case Role::agent:
      return "agent";
    case Role::writer:
      return "writer";
    case Role::none:
      break;
  }
  return "none";
}

void StoreRoot::rootIs(std::string directory) {
  VEX_ASSERT(!holds(Role::agent) && !holds(Role::writer), "the root is set before its first use");
  while (directory.size() > 1 && directory.ends_with('/')) directory.pop_back();
  state().directory = std::filesystem::absolute(directory).string();
}

std::string const& StoreRoot::root() {
  std::string& directory = state().directory;
  if (directory.empty()) {
    char const* given = std::getenv("LOAM_STORE");
    directory = given != nullptr && *given != '\0' ? std::filesystem::absolute(given).string()
                                                   : fmt::format("/dev/shm/loam-store-{}", ::geteuid());
  }
  return directory;
}

bool StoreRoot::holds(Role role) {
  return state().of(role).lock.isHeld();
}

Pivot::Status StoreRoot::claim(Role role) {
  VEX_ASSERT(role != Role::none, "a role is claimed, not none");
  if (holds(role)) return Pivot::Status::ok();
  int error = 0;
  Descriptor const directory = Shoal::openRoot(true, error);
  if (!directory.isOpen()) return refuse(Shoal::errorText(error));
  if (Pivot::Status status = checkRoot(directory); !status) return status;
  if (Pivot::Status status = checkSpace(directory, role); !status) return status;
  Claimed& claimed = state().of(role);
  if (Pivot::Status status = RoleLock::take(role, true, claimed.lock); !status)
    return refuse(status.message());
  claimed.manifest = std::make_unique<Manifest>();
  Pivot::Status status = claimed.manifest->mount(role);
  if (!status) claimed = Claimed();
  // Only who owns the manifest sweeps: whoever has the lock alone, because its file was deleted, would sweep away
  // what another is making.
  if (status) sweepStaging(role);
  return status;
}

Pivot::Status StoreRoot::stillHeld(Role role) {
  if (!holds(role)) return refuse(fmt::format("the role '{}' is not claimed", roleName(role)));
  Pivot::Status const status = state().of(role).lock.stillNamed(role);
  return status ? status : refuse(status.message());
}

StoreRoot::Holder StoreRoot::holder(Role role) {
  return RoleLock::holder(role);
}

Pivot::Status StoreRoot::giveSignOfLife() {
  static std::time_t last = 0;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  if (now.tv_sec == std::exchange(last, now.tv_sec)) return Pivot::Status::ok();
  for (Role role : {Role::agent, Role::writer}) {
    if (!holds(role)) continue;
    state().of(role).lock.giveSignOfLife();
    if (Pivot::Status status = stillHeld(role); !status) return status;
  }
  return Pivot::Status::ok();
}

void rolesLeaveToParent() noexcept {
  for (Claimed& claimed : state().roles) claimed.lock.leaveToParent();
}

void StoreRoot::release() {
  EntityManager::unmountAll();
  Shoal::Ownership::endAll();
  for (Claimed& claimed : state().roles) claimed = Claimed();
}

bool StoreRoot::listIsWhole(Role role) {
  return Shoal::manifestOf(role).isWhole();
}

std::vector<std::string> StoreRoot::list(std::string const& path) {
  std::vector<std::string> paths;
  static_cast<void>(list(path, paths));
  return paths;
}

Pivot::Status StoreRoot::list(std::string const& path, std::vector<std::string>& paths) {
  paths.clear();
  bool whole = Shoal::listFiles(path, paths);
  for (Role role : {Role::agent, Role::writer}) whole = Manifest::list(role, path, paths) && whole;
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  if (whole) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format(
      "collections below '{}' in {} cannot be listed now: descriptors or memory are out", path, root()));
}

}  // namespace VexSharedMem

namespace Shoal {

Manifest& manifestOf(VexSharedMem::StoreRoot::Role role) {
  Manifest* manifest = VexSharedMem::state().of(role).manifest.get();
  VEX_ASSERT(manifest != nullptr, "the manifest of a claimed role is mounted");
  return *manifest;
}

}  // namespace Shoal
