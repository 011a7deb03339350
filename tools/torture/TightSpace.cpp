#include "tools/torture/TightSpace.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

extern char** environ;

namespace Inlif {
namespace {

constexpr std::uint64_t kWide = 512ULL << 20;
constexpr std::uint64_t kMostSlack = 96 << 10;
constexpr std::uint64_t kMostMilliseconds = 40;

bool written(char const* file, std::string const& text) {
  int const out = ::open(file, O_WRONLY | O_CLOEXEC);
  bool const done = out >= 0 && ::write(out, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  if (out >= 0) ::close(out);
  return done;
}

// Root may; others may in a user namespace of their own, where the system lets them have one.
bool ownMounts() {
  if (::unshare(CLONE_NEWNS) == 0) return true;
  uid_t const user = ::geteuid();
  gid_t const group = ::getegid();
  return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && written("/proc/self/setgroups", "deny") &&
         written("/proc/self/uid_map", fmt::format("{0} {0} 1", user)) &&
         written("/proc/self/gid_map", fmt::format("{0} {0} 1", group));
}

}  // namespace

Pivot::Status TightSpace::open(std::string const& directory) {
  bool const mounted =
      ownMounts() && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      ::mount("none", directory.c_str(), "tmpfs", 0, fmt::format("mode=0700,size={}", kWide).c_str()) == 0;
  if (!mounted) {
    return Pivot::Status::refused(fmt::format(
        "--full: no file system of its own on {}: {}; expected the right to mount one, as root has it or "
        "a user namespace gives it",
        directory, std::strerror(errno)));
  }
  directory_ = directory;
  thread_ = std::thread([this] { run(); });
  return Pivot::Status::ok();
}

TightSpace::~TightSpace() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard const lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
  ::umount2(directory_.c_str(), MNT_DETACH);
}

bool TightSpace::sizeIs(std::uint64_t bytes) {
  return ::mount("none", directory_.c_str(), nullptr, MS_REMOUNT, fmt::format("size={}", bytes).c_str()) == 0;
}

// What is used may grow before the size is set; it is refused then.
void TightSpace::tighten(std::uint64_t slack) {
  struct statvfs now;
  for (int i = 0; i < 100; ++i) {
    if (::statvfs(directory_.c_str(), &now) == 0 &&
        sizeIs((now.f_blocks - now.f_bfree) * now.f_frsize + slack)) {
      ++times_;
      return;
    }
  }
}

void TightSpace::widen() {
  sizeIs(kWide);
}

void TightSpace::flow(std::uint64_t seed) {
  std::lock_guard const lock(mutex_);
  random_.seed(seed);
  flows_ = true;
  changed_.notify_all();
}

void TightSpace::calm() {
  std::lock_guard const lock(mutex_);
  flows_ = false;
  widen();
}

// Returns whether it still flows.
bool TightSpace::rest(std::unique_lock<std::mutex>& lock) {
  changed_.wait_for(lock, std::chrono::milliseconds(1 + random_() % kMostMilliseconds));
  return flows_ && !stop_;
}

void TightSpace::run() {
  std::unique_lock lock(mutex_);
  while (!stop_) {
    if (!flows_) {
      changed_.wait(lock);
    } else if (rest(lock)) {
      tighten(random_() % kMostSlack);
      rest(lock);
      widen();
    }
  }
}

Pivot::Status TightSpace::copyTo(std::string const& directory) const {
  std::string arguments[] = {"cp", "-a", "--sparse=always", directory_, directory};
  char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                  arguments[3].data(), arguments[4].data(), nullptr};
  pid_t child = -1;
  int status = 0;
  if (::posix_spawnp(&child, "cp", nullptr, nullptr, argv, environ) != 0 ||
      ::waitpid(child, &status, 0) != child || status != 0)
    return Pivot::Status::refused(fmt::format("{} could not be copied to {}", directory_, directory));
  return Pivot::Status::ok();
}

}  // namespace Inlif
