// The version that an operation gives to a key while it is under way, so that transient state can be told to
// belong to that operation or to a newer one. It lives in memory only; the log knows nothing of it.
#pragma once

#include <cstdint>
#include <string>

#include "Cobble/Export.h"

namespace Asic {

// A count of 64 bits; all ones means none.
class MajorVersion {
 public:
  // Made without a value it is invalid.
  constexpr MajorVersion() = default;
  explicit constexpr MajorVersion(std::uint64_t value) : value_(value) {}

  constexpr bool valid() const { return value_ != kInvalid; }
  constexpr std::uint64_t value() const { return value_; }
  constexpr bool isEq(MajorVersion other) const { return value_ == other.value_; }
  friend constexpr bool operator==(MajorVersion, MajorVersion) = default;

 private:
  static constexpr std::uint64_t kInvalid = ~std::uint64_t{0};

  std::uint64_t value_ = kInvalid;
};

class EntryVersion {
 public:
  // Made without a value it is invalid: all ones.
  constexpr EntryVersion() = default;
  constexpr EntryVersion(MajorVersion major, std::uint16_t word) : major_(major), word_(word) {}

  // {0, 0} is valid.
  constexpr bool valid() const { return major_.valid(); }
  constexpr MajorVersion majorVersion() const { return major_; }
  // A second count that the tables copy and leave at 0.
  constexpr std::uint16_t word() const { return word_; }
  constexpr bool isEq(EntryVersion const& other) const { return *this == other; }
  friend constexpr bool operator==(EntryVersion const&, EntryVersion const&) = default;

 private:
  MajorVersion major_;
  std::uint16_t word_ = 0xFFFF;
};

LOAM_FRAMEWORK_EXPORT std::string textOf(MajorVersion version);
LOAM_FRAMEWORK_EXPORT std::string textOf(EntryVersion const& version);

}  // namespace Asic
