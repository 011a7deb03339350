// A file system of a test's own, so small that it fills up.
#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <string>

namespace TestSupport {

// Mounts a tmpfs with these options on the directory, in a mount namespace of the calling process; false without the
// right to.
inline bool ownFileSystem(std::string const& directory, std::string const& options) {
  return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("none", directory.c_str(), "tmpfs", 0, (options + ",mode=0700").c_str()) == 0;
}

inline bool fileSystemIs(std::string const& directory, std::string const& options) {
  return ::mount("none", directory.c_str(), nullptr, MS_REMOUNT, options.c_str()) == 0;
}

// Nothing that lies there can grow from now on.
inline bool fileSystemFull(std::string const& directory) {
  struct statvfs now;
  return ::statvfs(directory.c_str(), &now) == 0 &&
         fileSystemIs(directory, "size=" + std::to_string((now.f_blocks - now.f_bfree) * now.f_frsize));
}

}  // namespace TestSupport
