// Hashes of 32 bits for the hash collections, and the process-wide seed that goes into each of them.
//
// mix32 is a bijection for each seed: two different 32-bit keys never meet, and unmix32 gives the key back. A
// set of 32-bit keys rests on that.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cobble/Export.h"

namespace Vex {

class LOAM_FRAMEWORK_EXPORT HashHelper {
 public:
  // The same number for the whole life of the process, different from one process to the next, never 0.
  static std::uint32_t hashSeed32() { return seed_.value; }

  static constexpr std::uint32_t mix32(std::uint32_t key, std::uint32_t seed) {
    std::uint32_t x = key ^ seed;
    x = (x ^ (x >> 16)) * kMul1;
    x = (x ^ (x >> 15)) * kMul2;
    return x ^ (x >> 16);
  }
  static constexpr std::uint32_t unmix32(std::uint32_t hash, std::uint32_t seed) {
    std::uint32_t x = (hash ^ (hash >> 16)) * inverse(kMul2);
    x = (x ^ (x >> 15) ^ (x >> 30)) * inverse(kMul1);
    return (x ^ (x >> 16)) ^ seed;
  }
  static constexpr std::uint32_t mix64(std::uint64_t key, std::uint32_t seed) {
    std::uint64_t x = (key ^ (key >> 32) ^ seed) * 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 29) ^ key) * 0xD6E8FEB86659FD93ULL;
    return static_cast<std::uint32_t>(x >> 32);
  }
  // Any run of bytes; values that are hashed so have no padding.
  static std::uint32_t bytes(void const* data, std::size_t length, std::uint32_t seed);

 private:
  static constexpr std::uint32_t kMul1 = 0x7FEB352D;
  static constexpr std::uint32_t kMul2 = 0x846CA68B;

  // Inverse of an odd number modulo 2^32: each step doubles the correct low bits, from 3 to 48.
  static constexpr std::uint32_t inverse(std::uint32_t odd) {
    std::uint32_t x = odd;
    for (int step = 0; step < 4; ++step) x *= 2 - odd * x;
    return x;
  }
  struct Seed {
    Seed();
    std::uint32_t value;
  };
  static Seed const seed_;
};
static_assert(HashHelper::unmix32(HashHelper::mix32(0x12345678, 99), 99) == 0x12345678);
static_assert(HashHelper::unmix32(HashHelper::mix32(0xFFFFFFFF, 7), 7) == 0xFFFFFFFF);

}  // namespace Vex
