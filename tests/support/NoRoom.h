// Files that cannot grow, as on a full file system: while one of these lives, no memory is reserved for any file.
// Included by one source file of a test, which must stand in front of the C library among the owners of the name.
#pragma once

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace TestSupport {

class NoRoom {
 public:
  NoRoom() { ++count_; }
  ~NoRoom() { --count_; }
  NoRoom(NoRoom const&) = delete;
  NoRoom& operator=(NoRoom const&) = delete;
  static bool stands() { return count_ != 0; }

 private:
  static inline int count_ = 0;
};

}  // namespace TestSupport

extern "C" [[gnu::visibility("default")]] int posix_fallocate(int file, off_t offset, off_t bytes) {
  if (TestSupport::NoRoom::stands()) return ENOSPC;
  return ::syscall(SYS_fallocate, file, 0, offset, bytes) == 0 ? 0 : errno;
}
