// A file system of a test's own, so small that it fills up.
#pragma once

#include <sched.h>
#include <sys/mount.h>

#include <string>

#include "support/Processes.h"

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

// Runs `work` in a process of its own with such a file system; its result tells what did not hold, 0 is nothing.
constexpr int kNoRightToMount = 77;
inline void inOwnFileSystem(std::string const& directory, std::string const& options,
                            std::function<int()> const& work) {
  int const code =
      exitCode(forked([&] { return ownFileSystem(directory, options) ? work() : kNoRightToMount; }));
  if (code == kNoRightToMount) GTEST_SKIP() << "no right to mount a file system";
  EXPECT_EQ(code, 0) << options;
}

}  // namespace TestSupport
