// The key under which an index into the counter engines is asked for: who counts, on which system module, on
// which engine, and for which direction.
//
// Stored in the shared records, so its layout is fixed:
//
//   offset  width  field       default  written by
//   0       u64    objectId    0        the client that writes an entry
//   8       u16    moduleId    2048     the client; 0 to 2047 name a system module, 2048 none
//   10      u16    engineId    6        the client; 0 to 5 name a counter engine, 6 leaves it to the counters
//   12      u8     direction   0        the client
//   13      3      reserved13  0        nobody
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>

#include "Vex/HashHelper.h"

namespace LoamCountersLib {

struct CrpsIndexRequestEntryKey {
  static constexpr bool kFormatsAsText = true;
  static constexpr std::uint16_t kNoModule = 2048;
  static constexpr std::uint16_t kAnyEngine = 6;

  std::uint64_t objectId = 0;
  std::uint16_t moduleId = kNoModule;
  std::uint16_t engineId = kAnyEngine;
  std::uint8_t direction = 0;
  std::uint8_t reserved13[3] = {};

  constexpr CrpsIndexRequestEntryKey() noexcept = default;
  constexpr explicit CrpsIndexRequestEntryKey(std::uint64_t objectIdGiven,
                                              std::uint16_t moduleIdGiven = kNoModule,
                                              std::uint16_t engineIdGiven = kAnyEngine,
                                              std::uint8_t directionGiven = 0) noexcept
      : objectId(objectIdGiven),
        moduleId(moduleIdGiven),
        engineId(engineIdGiven),
        direction(directionGiven) {}

  // The key of who counts; the rest is said behind it: ofObject(7).onModule(3).onEngine(2).inDirection(1).
  static constexpr CrpsIndexRequestEntryKey ofObject(std::uint64_t number) noexcept {
    return CrpsIndexRequestEntryKey(number);
  }
  constexpr CrpsIndexRequestEntryKey onModule(std::uint16_t number) const noexcept {
    return CrpsIndexRequestEntryKey(objectId, number, engineId, direction);
  }
  constexpr CrpsIndexRequestEntryKey onEngine(std::uint16_t number) const noexcept {
    return CrpsIndexRequestEntryKey(objectId, moduleId, number, direction);
  }
  constexpr CrpsIndexRequestEntryKey inDirection(std::uint8_t number) const noexcept {
    return CrpsIndexRequestEntryKey(objectId, moduleId, engineId, number);
  }

  bool isEq(CrpsIndexRequestEntryKey const& other) const noexcept {
    return objectId == other.objectId && smallWord() == other.smallWord();
  }
  std::uint32_t hash(std::uint32_t seed) const noexcept {
    return Vex::HashHelper::mix64(smallWord(), Vex::HashHelper::mix64(objectId, seed));
  }
  friend bool operator==(CrpsIndexRequestEntryKey const& a, CrpsIndexRequestEntryKey const& b) noexcept {
    return a.isEq(b);
  }
  friend auto operator<=>(CrpsIndexRequestEntryKey const& a, CrpsIndexRequestEntryKey const& b) noexcept {
    return std::tie(a.objectId, a.moduleId, a.engineId, a.direction) <=>
           std::tie(b.objectId, b.moduleId, b.engineId, b.direction);
  }
  std::string text() const {
    return std::to_string(objectId) + '/' + std::to_string(moduleId) + '/' + std::to_string(engineId) + '/' +
           std::to_string(direction);
  }

 private:
  // The three small fields as one word, so that a comparison and a hash take one step for them.
  constexpr std::uint64_t smallWord() const noexcept {
    return std::uint64_t{moduleId} | std::uint64_t{engineId} << 16 | std::uint64_t{direction} << 32;
  }
};

static_assert(sizeof(CrpsIndexRequestEntryKey) == 16);
static_assert(offsetof(CrpsIndexRequestEntryKey, objectId) == 0);
static_assert(offsetof(CrpsIndexRequestEntryKey, moduleId) == 8);
static_assert(offsetof(CrpsIndexRequestEntryKey, engineId) == 10);
static_assert(offsetof(CrpsIndexRequestEntryKey, direction) == 12);
static_assert(offsetof(CrpsIndexRequestEntryKey, reserved13) == 13);
static_assert(std::is_standard_layout_v<CrpsIndexRequestEntryKey> &&
              std::is_trivially_copyable_v<CrpsIndexRequestEntryKey> &&
              std::has_unique_object_representations_v<CrpsIndexRequestEntryKey>);

}  // namespace LoamCountersLib
