#include "Shoal/RoleLock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Shoal/CrashPoint.h"
#include "Vex/UtcTime.h"

namespace Shoal {
namespace {

using VexSharedMem::StoreRoot;

constexpr off_t kRoleByte = 0;
constexpr off_t kTextByte = 1;
// The text has one length, so that it is written in one go over its predecessor's, also on a full file system.
constexpr std::size_t kTextBytes = 48;

std::string fileOf(StoreRoot::Role role) {
  return fmt::format(".lock-{}", StoreRoot::roleName(role));
}

struct flock lockOf(off_t byte) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

bool lockByte(int file, off_t byte) {
  struct flock lock = lockOf(byte);
  return ::fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool isLocked(int file, off_t byte) {
  struct flock lock = lockOf(byte);
  return ::fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool isSame(struct stat const& named, Descriptor const& file) {
  struct stat open;
  return ::fstat(file.get(), &open) == 0 && named.st_ino == open.st_ino && named.st_dev == open.st_dev;
}

bool writeText(int file) {
  std::string const text = fmt::format(
      "{:<{}}\n", fmt::format("{} {}", ::getpid(), Vex::utcText(std::chrono::system_clock::now())),
      kTextBytes - 1);
  return ::pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

StoreRoot::Holder holderOf(int file) {
  StoreRoot::Holder holder;
  holder.alive = isLocked(file, kRoleByte);
  if (holder.alive && !isLocked(file, kTextByte)) return holder;
  char text[kTextBytes + 1] = {};
  char since[25] = {};
  struct stat status;
  if (::pread(file, text, kTextBytes, 0) <= 0 || ::fstat(file, &status) != 0) return holder;
  if (std::sscanf(text, "%d %24[0-9TZ:.-]", &holder.pid, since) < 1) holder.pid = 0;
  holder.since = since;
  holder.lastSign = std::chrono::system_clock::time_point(
      std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::microseconds(status.st_mtim.tv_nsec / 1000));
  return holder;
}

}  // namespace

Pivot::Status RoleLock::take(StoreRoot::Role role, bool leaveText, RoleLock& lock) {
  std::string const name = fileOf(role);
  auto const refuse = [&](int error) {
    return Pivot::Status::refused(fmt::format("{}: {}", name, errorText(error)));
  };
  int error = 0;
  Descriptor const root = openRoot(false, error);
  if (!root.isOpen()) return refuse(error);
  Descriptor file;
  struct stat named;
  // A lock on a file that lost its name between opening and locking keeps nobody out: somebody deleted it.
  do {
    file = Descriptor(::openat(root.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isOpen()) return refuse(errno);
    if (!lockByte(file.get(), kRoleByte)) {
      if (errno != EAGAIN && errno != EACCES) return refuse(errno);
      pid_t const pid = holderOf(file.get()).pid;
      return Pivot::Status::refused(fmt::format("in use by another {} (pid {})", StoreRoot::roleName(role),
                                                pid != 0 ? std::to_string(pid) : "unknown"));
    }
  } while (::fstatat(root.get(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 || !isSame(named, file));
  LOAM_CRASH_POINT("claim: locked");
  if (leaveText) {
    if (!writeText(file.get())) return refuse(errno);
    LOAM_CRASH_POINT("claim: pid noted");
    if (!lockByte(file.get(), kTextByte)) return refuse(errno);
  }
  lock.file_ = std::move(file);
  return Pivot::Status::ok();
}

void RoleLock::giveSignOfLife() const {
  ::futimens(file_.get(), nullptr);
}

// By its path, which takes no descriptor: a process that has none left still holds its role. What cannot be looked at
// now, for another reason than that it is not there, is not deleted.
Pivot::Status RoleLock::stillNamed(StoreRoot::Role role) const {
  struct stat named;
  bool const there = ::lstat((StoreRoot::root() + "/" + fileOf(role)).c_str(), &named) == 0;
  if (there ? isSame(named, file_) : errno != ENOENT && errno != ENOTDIR) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("{} of this process was deleted; another {} may begin",
                                            fileOf(role), StoreRoot::roleName(role)));
}

StoreRoot::Holder RoleLock::holder(StoreRoot::Role role) {
  int error = 0;
  Descriptor const root = openRoot(false, error);
  if (!root.isOpen()) return {};
  Descriptor const file(
      ::openat(root.get(), fileOf(role).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  return file.isOpen() ? holderOf(file.get()) : StoreRoot::Holder();
}

}  // namespace Shoal
