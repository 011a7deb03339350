// The arenas behind SlabAllocator.
//
// A block is a free-list entry while it is free and the caller's while it is not; no header precedes it,
// since the caller gives size and pattern back. The list is last in, first out, so that the next object gets
// the memory that is still in the cache.
#include "Cobble/Slab.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "Cobble/ThreadControl.h"

#if defined(__SANITIZE_ADDRESS__)
#define COBBLE_PASS_THROUGH 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define COBBLE_PASS_THROUGH 1
#endif
#endif

namespace Cobble {
namespace {

#ifdef COBBLE_PASS_THROUGH
constexpr bool kPassThrough = true;
#else
constexpr bool kPassThrough = false;
#endif

constexpr std::size_t kGranule = 16;
constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kLargeChunkBytes = 2 * 1024 * 1024;
constexpr std::size_t kClasses = SlabAllocator::kLargestBlock / kGranule;
constexpr std::size_t kPatterns = 2;

struct FreeBlock {
  FreeBlock* next;
};

// Constant-initialised and never destroyed: static objects of any library may come and go through it.
class Arena {
 public:
  void* take(std::size_t sizeClass) {
    std::unique_lock const lock = lockIfThreads();
    std::size_t const bytes = (sizeClass + 1) * kGranule;
    ++stats_.liveBlocks;
    stats_.liveBytes += bytes;
    if (FreeBlock* const block = free_[sizeClass]) {
      free_[sizeClass] = block->next;
      return block;
    }
    return carve(bytes);
  }

  void giveBack(void* memory, std::size_t sizeClass) {
    std::unique_lock const lock = lockIfThreads();
    std::size_t const bytes = (sizeClass + 1) * kGranule;
#ifndef NDEBUG
    // Whoever still looks at a freed object of a debug build finds nonsense at once.
    std::memset(memory, 0xDD, bytes);
#endif
    --stats_.liveBlocks;
    stats_.liveBytes -= bytes;
    free_[sizeClass] = new (memory) FreeBlock{free_[sizeClass]};
  }

  SlabAllocator::Stats stats() {
    std::unique_lock const lock = lockIfThreads();
    return stats_;
  }

 private:
  std::unique_lock<std::mutex> lockIfThreads() {
    return Pivot::ThreadControl::tsp_ ? std::unique_lock(mutex_) : std::unique_lock(mutex_, std::defer_lock);
  }

  // The next bytes of the current chunk. What a chunk has left when it is too little becomes a free block of
  // its own class.
  void* carve(std::size_t bytes) {
    if (static_cast<std::size_t>(end_ - at_) < bytes) {
      if (at_ != end_) {
        std::size_t const rest = static_cast<std::size_t>(end_ - at_) / kGranule - 1;
        free_[rest] = new (at_) FreeBlock{free_[rest]};
      }
      std::size_t const chunkBytes = stats_.chunkBytes < kLargeChunkBytes ? kChunkBytes : kLargeChunkBytes;
      at_ = static_cast<unsigned char*>(allocateBulk(chunkBytes));
      end_ = at_ + chunkBytes;
      stats_.chunkBytes += chunkBytes;
    }
    void* const block = at_;
    at_ += bytes;
    return block;
  }

  FreeBlock* free_[kClasses] = {};
  unsigned char* at_ = nullptr;
  unsigned char* end_ = nullptr;
  SlabAllocator::Stats stats_;
  std::mutex mutex_;
};

constinit Arena arenas[kPatterns];

Arena& arenaOf(SlabAllocationPattern pattern) {
  return arenas[static_cast<std::size_t>(pattern)];
}

std::size_t sizeClassOf(std::size_t bytes) {
  return bytes == 0 ? 0 : (bytes - 1) / kGranule;
}

// Ends the process as a fatal assertion does (Vex/Assert.h), which would ask for memory itself to tell its text.
void mustHave(void const* block, std::size_t bytes) {
  if (block != nullptr) [[likely]]
    return;
  char line[80];
  int const length =
      std::snprintf(line, sizeof(line), "Assertion failed: block: no memory for %zu bytes\n", bytes);
  static_cast<void>(!::write(STDERR_FILENO, line, static_cast<std::size_t>(length)));
  std::abort();
}

}  // namespace

void* allocateOnHeap(std::size_t bytes) {
  void* const block = std::malloc(bytes);
  mustHave(block, bytes);
  return block;
}

void freeOnHeap(void* block) noexcept {
  std::free(block);
}

// As huge pages where the block has room for one and the system has one to give. What the system does not do of
// this, the first touch does.
void* allocateBulk(std::size_t bytes) {
  if (bytes < kChunkBytes) return allocateOnHeap(bytes);
  std::size_t const unit = bytes < kLargeChunkBytes ? kChunkBytes : kLargeChunkBytes;
  bytes = (bytes + kChunkBytes - 1) / kChunkBytes * kChunkBytes;
  void* block = nullptr;
  // std::aligned_alloc takes no size that is no multiple of the alignment.
  if (::posix_memalign(&block, unit, bytes) != 0) block = nullptr;
  mustHave(block, bytes);
  if (unit == kLargeChunkBytes) ::madvise(block, bytes, MADV_HUGEPAGE);
  ::madvise(block, bytes, MADV_POPULATE_WRITE);
  return block;
}

void* SlabAllocator::allocate(std::size_t bytes, SlabAllocationPattern pattern) {
  if (kPassThrough || bytes > kLargestBlock) return allocateOnHeap(bytes);
  return arenaOf(pattern).take(sizeClassOf(bytes));
}

void SlabAllocator::free(void* block, std::size_t bytes, SlabAllocationPattern pattern) noexcept {
  if (block == nullptr) return;
  if (kPassThrough || bytes > kLargestBlock) {
    freeOnHeap(block);
  } else {
    arenaOf(pattern).giveBack(block, sizeClassOf(bytes));
  }
}

SlabAllocator::Stats SlabAllocator::stats(SlabAllocationPattern pattern) {
  return arenaOf(pattern).stats();
}

}  // namespace Cobble
