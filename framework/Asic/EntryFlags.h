// What kind of operation a resolver entry stands for, in one byte: a write carries neither of the first two
// bits.
#pragma once

#include <cstdint>

namespace Asic {

class EntryFlags {
 public:
  static constexpr std::uint8_t kIsEntryDelete = 1;
  static constexpr std::uint8_t kIsTableDelete = 2;
  static constexpr std::uint8_t kSuppressIdenticalWrites = 4;

  constexpr EntryFlags() = default;
  explicit constexpr EntryFlags(std::uint8_t bits) : bits_(bits) {}

  constexpr std::uint8_t bits() const { return bits_; }
  constexpr bool isEntryDelete() const { return (bits_ & kIsEntryDelete) != 0; }
  constexpr bool isTableDelete() const { return (bits_ & kIsTableDelete) != 0; }
  // A write that changes nothing in the configuration takes no new version.
  constexpr bool suppressIdenticalWrites() const { return (bits_ & kSuppressIdenticalWrites) != 0; }
  friend constexpr bool operator==(EntryFlags, EntryFlags) = default;

 private:
  std::uint8_t bits_ = 0;
};

}  // namespace Asic
