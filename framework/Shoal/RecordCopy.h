// Copies between a slot and private memory that the other side may overtake. The words go as relaxed atomics,
// so that a copy which is overtaken holds old and new words, never anything else, and no data race exists;
// what the copy is worth is decided by the checksum afterwards. Slots are aligned to 64 bytes and their
// records begin 16 bytes into them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Shoal {

inline void copyIntoSlot(std::byte* slotRecord, void const* record, std::uint32_t bytes) {
  auto* to = reinterpret_cast<std::uint64_t*>(slotRecord);
  auto const* from = static_cast<std::byte const*>(record);
  // No compiler unrolls a loop of atomic stores by itself.
#pragma GCC unroll 8
  for (std::uint32_t i = 0; i < bytes / 8; ++i) {
    std::uint64_t word;
    std::memcpy(&word, from + std::size_t{8} * i, 8);
    std::atomic_ref<std::uint64_t>(to[i]).store(word, std::memory_order_relaxed);
  }
  if (std::uint32_t const tail = bytes % 8; tail != 0) {
    std::uint64_t word = 0;
    std::memcpy(&word, from + bytes - tail, tail);
    std::atomic_ref<std::uint64_t>(to[bytes / 8]).store(word, std::memory_order_relaxed);
  }
}

// `words` has room for the record, rounded up to 8 bytes.
inline void copyOutOfSlot(std::uint64_t* words, std::byte const* slotRecord, std::uint32_t bytes) {
  // atomic_ref needs a mutable object before C++26; the mapping is read-only and nothing is stored.
  auto* from = const_cast<std::uint64_t*>(reinterpret_cast<std::uint64_t const*>(slotRecord));
  for (std::uint32_t i = 0; i < (bytes + 7) / 8; ++i)
    words[i] = std::atomic_ref<std::uint64_t>(from[i]).load(std::memory_order_relaxed);
}

// The two fences of the argument. The thread sanitizer does not know fences and g++ says so; every access
// that they order is atomic, so it has nothing to report.
#if defined(__SANITIZE_THREAD__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wtsan"
#endif
inline void releaseFence() {
  std::atomic_thread_fence(std::memory_order_release);
}
inline void acquireFence() {
  std::atomic_thread_fence(std::memory_order_acquire);
}
#if defined(__SANITIZE_THREAD__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // namespace Shoal
