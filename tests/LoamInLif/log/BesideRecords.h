// The records that a writer publishes at full speed beside its readers: what each version does, on which key, and what
// stands in it. All of it is made from the version, so that a reader knows every byte.
#pragma once

#include <cstring>
#include <vector>

#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "Shoal/Checksum.h"

namespace TestSupport {

constexpr std::uint32_t kKeys = 512;
constexpr std::uint32_t kChains = 16;

// What version v says: a clear each 65536, a removal of what was just written each eighth, else a write.
inline bool clears(std::uint64_t v) {
  return v % 65536 == 0;
}
inline bool removes(std::uint64_t v) {
  return v % 8 == 7;
}
inline std::uint64_t writeOf(std::uint64_t v) {
  return removes(v) ? v - 1 : v;
}
// The keys share few buckets, so that configurations have long chains and a wrong link behind a record shows as a
// record that is stepped past.
inline std::vector<std::uint32_t> const& keysInChains() {
  static std::vector<std::uint32_t> const keys = [] {
    std::vector<std::uint32_t> found;
    for (std::uint32_t key = 1; found.size() < kKeys; ++key)
      if (Shoal::keyPlace(&key, 4, (1u << 20) - 1).bucket < kChains) found.push_back(key);
    return found;
  }();
  return keys;
}
inline std::uint32_t keyOf(std::uint64_t v) {
  return keysInChains()[Shoal::mix64(writeOf(v)) % kKeys];
}

struct Content {
  LoamTunnelNiLib::InLifModelLogEntry entry;
  LoamTunnelNiLib::InLifModelResourceKeys keys;

  // Of the write of version v.
  static Content const& of(std::uint64_t v) {
    thread_local Content content;
    std::uint64_t const seed = Shoal::mix64(v ^ std::uint64_t{keyOf(v)} << 48);
    fill(&content.entry, sizeof content.entry, seed);
    content.entry.clearUnowned();  // as it is published
    fill(&content.keys, sizeof content.keys, ~seed);
    content.entry.inLifData = v;
    content.entry.key = LoamTunnelNiLib::InLifModelEntryKey(keyOf(v));
    return content;
  }

 private:
  static void fill(void* to, std::size_t bytes, std::uint64_t seed) {
    for (std::size_t at = 0; at < bytes; at += 8, seed += 0x9E3779B97F4A7C15)
      std::memcpy(static_cast<std::byte*>(to) + at, &seed, 8);
  }
};

}  // namespace TestSupport
