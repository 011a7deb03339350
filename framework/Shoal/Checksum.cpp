#include "Shoal/Checksum.h"

#include "Vex/Xxh3.h"

namespace Shoal {

KeyPlace bytesKeyPlace(void const* key, std::uint32_t bytes, std::uint32_t bucketMask) {
  std::uint64_t const hash = XXH3_64bits(key, bytes);
  return {static_cast<std::uint32_t>(hash) & bucketMask, static_cast<std::uint16_t>(hash >> 48)};
}

std::uint64_t recordChecksum(void const* record, std::uint32_t bytes, std::uint64_t salt) {
  return (XXH3_64bits(record, bytes) ^ salt) & ~std::uint64_t{0xFFFF};
}

std::uint64_t bytesChecksum(void const* data, std::size_t bytes, std::uint64_t salt) {
  return XXH3_64bits(data, bytes) ^ salt;
}

}  // namespace Shoal
