#include "Shoal/Checksum.h"

#include <cstring>

#include "Vex/Xxh3.h"

namespace Shoal {
namespace {

constexpr std::uint64_t kIntegerSeed = 0x9E3779B97F4A7C15;

template <class Integer>
std::uint64_t load(void const* bytes) {
  Integer value;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

// The value of an integer key, which the hash and the order take as a number.
bool integerKey(void const* key, std::uint32_t bytes, std::uint64_t& value) {
  switch (bytes) {
    case 4:
      value = load<std::uint32_t>(key);
      return true;
    case 8:
      value = load<std::uint64_t>(key);
      return true;
    case 2:
      value = load<std::uint16_t>(key);
      return true;
    default:
      return false;
  }
}

}  // namespace

KeyPlace keyPlace(void const* key, std::uint32_t bytes, std::uint32_t bucketMask) {
  std::uint64_t value;
  if (integerKey(key, bytes, value)) {
    std::uint64_t const mixed = mix64((value >> 9) + kIntegerSeed);
    return {(static_cast<std::uint32_t>(mixed) ^ static_cast<std::uint32_t>(value & 511)) & bucketMask,
            static_cast<std::uint16_t>(mixed >> 48)};
  }
  std::uint64_t const hash = XXH3_64bits(key, bytes);
  return {static_cast<std::uint32_t>(hash) & bucketMask, static_cast<std::uint16_t>(hash >> 48)};
}

int keyCompare(void const* a, void const* b, std::uint32_t bytes) {
  std::uint64_t x;
  std::uint64_t y;
  if (integerKey(a, bytes, x) && integerKey(b, bytes, y)) return x < y ? -1 : x > y ? 1 : 0;
  return std::memcmp(a, b, bytes);
}

std::uint64_t recordChecksum(void const* record, std::uint32_t bytes, std::uint64_t salt) {
  return (XXH3_64bits(record, bytes) ^ salt) & ~std::uint64_t{0xFFFF};
}

std::uint64_t bytesChecksum(void const* data, std::size_t bytes, std::uint64_t salt) {
  return XXH3_64bits(data, bytes) ^ salt;
}

}  // namespace Shoal
