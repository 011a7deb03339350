// One mapping of each file for the owner of a store and the readers in its process: the thread sanitizer tells memory by
// its address and would take two mappings of one file for two things, and no race between them would ever show. For one
// source of a test program alone: it stands before mmap and munmap of the whole program.
#pragma once

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <iterator>
#include <mutex>

// While `on`, a reader in the owner's process is given the owner's mapping.
class OwnersMappings {
 public:
  bool on = false;
  int given = 0;

  void* map(std::size_t bytes, int protection, int fd) {
    std::lock_guard const lock(mutex_);
    struct stat status {};
    fstat(fd, &status);
    for (One& one : all_)
      if (protection == PROT_READ && one.base != nullptr && one.inode == status.st_ino) {
        ++one.readers;
        ++given;
        return one.base;
      }
    auto* const base =
        reinterpret_cast<void*>(syscall(SYS_mmap, nullptr, bytes, protection, MAP_SHARED, fd, off_t{0}));
    if (protection != PROT_READ && count_ < std::size(all_)) all_[count_++] = {status.st_ino, base, 0};
    return base;
  }
  // False if nobody was given it.
  bool unmap(void* base) {
    std::lock_guard const lock(mutex_);
    for (One& one : all_)
      if (one.base == base && one.readers > 0) return --one.readers, true;
    return false;
  }

 private:
  struct One {
    ino_t inode = 0;
    void* base = nullptr;
    int readers = 0;
  };
  std::mutex mutex_;
  One all_[16];
  std::size_t count_ = 0;
};
inline OwnersMappings mappings;

// Called before a sanitizer is ready, too.
extern "C" __attribute__((no_sanitize("thread", "address"))) void* mmap(void* at, std::size_t bytes,
                                                                        int protection, int flags, int fd,
                                                                        off_t offset) noexcept {
  if (mappings.on && fd >= 0 && flags == MAP_SHARED) return mappings.map(bytes, protection, fd);
  return reinterpret_cast<void*>(syscall(SYS_mmap, at, bytes, protection, flags, fd, offset));
}
extern "C" __attribute__((no_sanitize("thread", "address"))) int munmap(void* base,
                                                                        std::size_t bytes) noexcept {
  if (mappings.on && mappings.unmap(base)) return 0;
  return static_cast<int>(syscall(SYS_munmap, base, bytes));
}
