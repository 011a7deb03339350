// Memory for small objects that come and go at every operation, and the macros that give a class its memory
// and its tracker.
//
// Size classes are multiples of 16 bytes up to 1024; what is larger comes from the general heap. Each pattern
// has an arena of its own, with one free list for each class, fed from chunks of 64 KiB. Objects of one
// pattern live about equally long, so that the free blocks of an arena lie together. An arena that has grown
// to 2 MiB takes chunks of that size. Chunks are kept for reuse and not given back.
//
// Under AddressSanitizer each block comes from malloc, so that the sanitizer sees every object. One thread,
// unless Pivot::ThreadControl::tsp_ is set; then a lock guards each arena.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cobble/AllocTrack.h"
#include "Cobble/Export.h"

namespace Cobble {

// Pattern 1 is for what is made once per operation; pattern 0 is everything else.
enum class SlabAllocationPattern : std::uint8_t { kDefault = 0, kPerOperation = 1 };

class LOAM_FRAMEWORK_EXPORT SlabAllocator {
 public:
  struct Stats {
    // Blocks handed out and not returned, and their bytes after rounding up to the size class.
    std::uint64_t liveBlocks = 0;
    std::uint64_t liveBytes = 0;
    // Bytes of all chunks.
    std::uint64_t chunkBytes = 0;
  };

  // Never null: a process without memory ends here. The block is aligned to 16 bytes.
  static void* allocate(std::size_t bytes, SlabAllocationPattern pattern);
  // bytes and pattern as at the allocation. Null is passed over.
  static void free(void* block, std::size_t bytes, SlabAllocationPattern pattern) noexcept;
  static Stats stats(SlabAllocationPattern pattern);

  static constexpr std::size_t kLargestBlock = 1024;
};

// The general heap, with the same promise: never null.
LOAM_FRAMEWORK_EXPORT void* allocateOnHeap(std::size_t bytes);
LOAM_FRAMEWORK_EXPORT void freeOnHeap(void* block) noexcept;

// A large block that is filled at once, from the general heap and given back to it by freeOnHeap. Its pages are
// present: pages that come one by one, each at its first touch, cost several times as much.
LOAM_FRAMEWORK_EXPORT void* allocateBulk(std::size_t bytes);

// For the nodes of the standard's and Abseil's collections: each from the slab.
template <class T>
struct NodeAllocator {
  using value_type = T;
  static_assert(alignof(T) <= 16);

  NodeAllocator() = default;
  template <class U>
  NodeAllocator(NodeAllocator<U> const&) noexcept {}

  T* allocate(std::size_t count) {
    return static_cast<T*>(SlabAllocator::allocate(count * sizeof(T), SlabAllocationPattern::kDefault));
  }
  void deallocate(T* block, std::size_t count) noexcept {
    SlabAllocator::free(block, count * sizeof(T), SlabAllocationPattern::kDefault);
  }
  friend bool operator==(NodeAllocator, NodeAllocator) { return true; }
};

// For arrays that are made for a known number of members and filled at once.
template <class T>
struct BulkAllocator {
  using value_type = T;
  static_assert(alignof(T) <= 16);

  BulkAllocator() = default;
  template <class U>
  BulkAllocator(BulkAllocator<U> const&) noexcept {}

  T* allocate(std::size_t count) { return static_cast<T*>(allocateBulk(count * sizeof(T))); }
  void deallocate(T* block, std::size_t) noexcept { freeOnHeap(block); }
  friend bool operator==(BulkAllocator, BulkAllocator) { return true; }
};

}  // namespace Cobble

// One of these stands in the public section of a class that is made one by one. A derived class that has
// none of its own is counted under its base. Deletion goes through the virtual destructor, which knows the
// size.
#define COBBLE_SLAB(ClassName, pattern)                                                \
  static inline constinit ::Vex::AllocTrackTypeInfo memAllocationTracker_{#ClassName}; \
  COBBLE_SLAB_OPERATORS(pattern)

// For a class of this library whose objects another library makes or destroys. That library keeps its weak
// symbols to itself, an inline tracker among them, and would count what it makes apart from what is freed
// here. So the tracker stands once, as COBBLE_TRACKER(ClassName) in the source file of the class.
#define COBBLE_SLAB_SHARED(ClassName, pattern)            \
  static ::Vex::AllocTrackTypeInfo memAllocationTracker_; \
  COBBLE_SLAB_OPERATORS(pattern)
#define COBBLE_TRACKER(ClassName) \
  constinit ::Vex::AllocTrackTypeInfo ClassName::memAllocationTracker_{#ClassName};

#define COBBLE_SLAB_OPERATORS(pattern)                                                                      \
  static void* operator new(std::size_t bytes) {                                                            \
    memAllocationTracker_.allocated(bytes);                                                                 \
    return ::Cobble::SlabAllocator::allocate(bytes, static_cast<::Cobble::SlabAllocationPattern>(pattern)); \
  }                                                                                                         \
  static void operator delete(void* block, std::size_t bytes) noexcept {                                    \
    if (block == nullptr) return;                                                                           \
    memAllocationTracker_.freed(bytes);                                                                     \
    ::Cobble::SlabAllocator::free(block, bytes, static_cast<::Cobble::SlabAllocationPattern>(pattern));     \
  }

#define COBBLE_HEAP(ClassName)                                                         \
  static inline constinit ::Vex::AllocTrackTypeInfo memAllocationTracker_{#ClassName}; \
  static void* operator new(std::size_t bytes) {                                       \
    memAllocationTracker_.allocated(bytes);                                            \
    return ::Cobble::allocateOnHeap(bytes);                                            \
  }                                                                                    \
  static void operator delete(void* block, std::size_t bytes) noexcept {               \
    if (block == nullptr) return;                                                      \
    memAllocationTracker_.freed(bytes);                                                \
    ::Cobble::freeOnHeap(block);                                                       \
  }
