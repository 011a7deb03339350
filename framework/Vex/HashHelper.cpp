// Hashes over bytes, and the process-wide seed.
#include "Vex/HashHelper.h"

#include <random>

#include "Vex/Xxh3.h"

namespace Vex {

HashHelper::Seed::Seed() : value(static_cast<std::uint32_t>(std::random_device()()) | 1U) {}

// A collection that is made while libraries are loaded must find the number that stays, so it comes before every
// other static object of this library; those of others follow, since they depend on it.
[[gnu::init_priority(101)]] HashHelper::Seed const HashHelper::seed_;

std::uint32_t HashHelper::bytes(void const* data, std::size_t length, std::uint32_t seed) {
  return static_cast<std::uint32_t>(XXH3_64bits_withSeed(data, length, seed));
}

}  // namespace Vex
