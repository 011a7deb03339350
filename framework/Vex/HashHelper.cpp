// Hashes over bytes, and the process-wide seed.
#include "Vex/HashHelper.h"

#include <random>

#include "Vex/Xxh3.h"

namespace Vex {

constinit std::atomic<std::uint32_t> HashHelper::seed_{0};

// The first caller decides, also when threads race: the seed never changes once anybody has seen it.
std::uint32_t HashHelper::seedMake() {
  std::uint32_t const made = static_cast<std::uint32_t>(std::random_device()()) | 1U;
  std::uint32_t present = 0;
  return seed_.compare_exchange_strong(present, made, std::memory_order_relaxed) ? made : present;
}

std::uint32_t HashHelper::bytes(void const* data, std::size_t length, std::uint32_t seed) {
  return static_cast<std::uint32_t>(XXH3_64bits_withSeed(data, length, seed));
}

}  // namespace Vex
