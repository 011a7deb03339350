// The fixed hash and the checksum of the store. Both are part of the file format: another seed or another
// mixing makes every file unreadable, so they depend on nothing that differs between processes or builds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Shoal {

// A bijective mixing of 64 bits (the finalizer of a splitting generator).
constexpr std::uint64_t mix64(std::uint64_t x) {
  x ^= x >> 30;
  x *= 0xBF58476D1CE4E5B9;
  x ^= x >> 27;
  x *= 0x94D049BB133111EB;
  return x ^ x >> 31;
}

// The salt of all checks of a file.
constexpr std::uint64_t saltOf(std::uint64_t incarnation) {
  return mix64(incarnation);
}

// Where a key belongs: the bucket it hashes to and the tag that its link carries.
struct KeyPlace {
  std::uint32_t bucket;
  std::uint16_t tag;
};

// The value of a key of 4, 8 or 2 bytes, which hash and order take as a number; false for any other key.
inline bool integerKey(void const* key, std::uint32_t bytes, std::uint64_t& value) {
  auto const load = [key, &value]<class Integer>(Integer number) {
    std::memcpy(&number, key, sizeof(number));
    value = number;
    return true;
  };
  if (bytes == 4) return load(std::uint32_t{});
  if (bytes == 8) return load(std::uint64_t{});
  return bytes == 2 && load(std::uint16_t{});
}

// Hashes a key of `bytes` bytes. Keys of 2, 4 and 8 bytes are integers: the lowest nine bits are kept apart,
// so that 512 neighbouring keys share one frame of the directory (log versions then touch as many frames as
// they need), and the rest is mixed over all buckets, so that no stride piles keys up. Other keys are hashed
// as bytes. `bucketMask` = number of buckets - 1, at least 511.
KeyPlace bytesKeyPlace(void const* key, std::uint32_t bytes, std::uint32_t bucketMask);
inline KeyPlace keyPlace(void const* key, std::uint32_t bytes, std::uint32_t bucketMask) {
  constexpr std::uint64_t kIntegerSeed = 0x9E3779B97F4A7C15;
  std::uint64_t value;
  if (!integerKey(key, bytes, value)) return bytesKeyPlace(key, bytes, bucketMask);
  std::uint64_t const mixed = mix64((value >> 9) + kIntegerSeed);
  return {(static_cast<std::uint32_t>(mixed) ^ static_cast<std::uint32_t>(value & 511)) & bucketMask,
          static_cast<std::uint16_t>(mixed >> 48)};
}

// Order of two keys of one bucket: integers by value, others by their bytes. Negative, 0 or positive.
inline int keyCompare(void const* a, void const* b, std::uint32_t bytes) {
  std::uint64_t x;
  std::uint64_t y;
  if (integerKey(a, bytes, x) && integerKey(b, bytes, y)) return x < y ? -1 : x > y ? 1 : 0;
  return std::memcmp(a, b, bytes);
}

// Checksum of a record, in the upper 48 bits. The salt comes from the file's incarnation, so that a slot's
// contents of another life do not pass.
std::uint64_t recordChecksum(void const* record, std::uint32_t bytes, std::uint64_t salt);

// The word that stands before a record in its slot: the record's checksum, and in the lower 16 bits, which are
// never 0, something of the number of the change that wrote it. With it a slot that was used for something
// else meanwhile, and then for the same bytes again, is not taken for one that stood still.
constexpr std::uint64_t slotChecksum(std::uint64_t checksum, std::uint64_t change) {
  return checksum | (change << 1 & 0xFFFF) | 1;
}
constexpr bool checksumFits(std::uint64_t stored, std::uint64_t checksum) {
  return stored != 0 && (stored ^ checksum) >> 16 == 0;
}

// Checksum of any bytes (headers, intents, names).
std::uint64_t bytesChecksum(void const* data, std::size_t bytes, std::uint64_t salt);

// The word that ends the chain of a bucket (FileLayout.h, Link).
constexpr std::uint64_t terminatorOf(std::uint32_t bucket, std::uint64_t salt) {
  return std::uint64_t{1} << 62 | (mix64(salt ^ bucket ^ std::uint64_t{0x7E} << 48) >> 26) << 24;
}

}  // namespace Shoal
