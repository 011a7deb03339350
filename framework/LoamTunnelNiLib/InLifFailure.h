// What the hardware did not take: one collection for each table instance, over all units, with a row for each key about
// which something is wrong there. The writer of the hardware owns it and writes it; the agent and inspection tools
// read it.
//
// InLifFailureRow, 128 bytes, written by the writer of the hardware, keyed by `key`:
//
//   offset  width  field            default
//   0       u16    key.unitId       0xFFFF
//   2       u16    key.wholeUnit    0        1: about the unit, and entryKey is 0
//   4       u32    key.entryKey     0
//   8       u64    logVersion       0        of the record that was refused last, or stands without its need
//   16      u64    first            0        nanoseconds since 1970: since when something is wrong with the key
//   24      u64    last             0        the same of the last try
//   32      u32    tries            0
//   36      u8     failureClass     0        see FailureClass
//   37      u8     operation        0        see FailedOperation
//   38      u16    needUnit         0        of the entry that it stands without
//   40      u32    needTable        0        its table; 0 but for class needRefused
//   44      u32    needKey          0        its key
//   48      80     text             zeros    what the hardware said, cut, the rest zeros
//
// The scratchpad counts the changes of the collection, and the watermark the refusals that found no room in it since the
// table was rebuilt.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Asic/UnitId.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "Shoal/ShoalMap.h"

namespace LoamTunnelNiLib {

enum class FailureClass : std::uint8_t {
  none = 0,
  tableFull = 1,
  invalid = 2,
  unsupported = 3,
  other = 4,
  busy = 5,  // not refused: the hardware puts it off, and with it the table, for longer than some seconds
  needRefused = 6,  // it stands in the hardware, and an entry that it needs was refused
};
inline constexpr std::array<std::string_view, 7> kFailureClassNames{
    "none", "full", "invalid", "unsupported", "other", "busy", "need-refused"};

enum class FailedOperation : std::uint8_t { write = 0, remove = 1, clear = 2 };
inline constexpr std::array<std::string_view, 3> kFailedOperationNames{"write", "remove", "clear"};

struct InLifFailureKey {
  static constexpr bool kFormatsAsText = true;

  Asic::UnitId unitId = Asic::kNoUnit;
  std::uint16_t wholeUnit = 0;
  InLifModelEntryKey entryKey{};

  static constexpr InLifFailureKey ofEntry(Asic::UnitId unit, InLifModelEntryKey key) noexcept {
    return {unit, 0, key};
  }
  static constexpr InLifFailureKey ofUnit(Asic::UnitId unit) noexcept { return {unit, 1, {}}; }

  friend constexpr bool operator==(InLifFailureKey const&, InLifFailureKey const&) noexcept = default;
  friend constexpr auto operator<=>(InLifFailureKey const&, InLifFailureKey const&) noexcept = default;
  std::string text() const {
    return wholeUnit != 0 ? "unit " + std::to_string(unitId)
                          : "unit " + std::to_string(unitId) + " key " + std::to_string(entryKey.value());
  }
};
static_assert(sizeof(InLifFailureKey) == 8);
static_assert(offsetof(InLifFailureKey, unitId) == 0);
static_assert(offsetof(InLifFailureKey, wholeUnit) == 2);
static_assert(offsetof(InLifFailureKey, entryKey) == 4);
static_assert(std::has_unique_object_representations_v<InLifFailureKey>);

struct InLifFailureRow {
  static constexpr std::size_t kTextBytes = 80;

  InLifFailureKey key{};
  Asic::LogVersion logVersion{};
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  std::uint32_t tries = 0;
  FailureClass failureClass = FailureClass::none;
  FailedOperation operation = FailedOperation::write;
  Asic::UnitId needUnit = 0;
  Asic::SwTableId needTable{};
  InLifModelEntryKey needKey{};
  std::array<char, kTextBytes> text{};

  // Whether the hardware has refused the record of this version: what stands under the key is something older, or
  // nothing.
  bool isRefusal() const noexcept {
    return failureClass >= FailureClass::tableFull && failureClass <= FailureClass::other;
  }
  std::string_view textView() const noexcept {
    std::string_view const all(text.data(), text.size());
    return all.substr(0, all.find('\0'));
  }
  void textIs(std::string_view what) noexcept {
    text = {};
    what.copy(text.data(), text.size());
  }
  // The names of class and operation; of a number that no build knows, the last resort "other" and "write".
  std::string_view className() const noexcept {
    auto const at = static_cast<std::size_t>(failureClass);
    return kFailureClassNames[at < kFailureClassNames.size() ? at : 4];
  }
  std::string_view operationName() const noexcept {
    auto const at = static_cast<std::size_t>(operation);
    return kFailedOperationNames[at < kFailedOperationNames.size() ? at : 0];
  }
};
static_assert(sizeof(InLifFailureRow) == 128);
static_assert(offsetof(InLifFailureRow, key) == 0);
static_assert(offsetof(InLifFailureRow, logVersion) == 8);
static_assert(offsetof(InLifFailureRow, first) == 16);
static_assert(offsetof(InLifFailureRow, last) == 24);
static_assert(offsetof(InLifFailureRow, tries) == 32);
static_assert(offsetof(InLifFailureRow, failureClass) == 36);
static_assert(offsetof(InLifFailureRow, operation) == 37);
static_assert(offsetof(InLifFailureRow, needUnit) == 38);
static_assert(offsetof(InLifFailureRow, needTable) == 40);
static_assert(offsetof(InLifFailureRow, needKey) == 44);
static_assert(offsetof(InLifFailureRow, text) == 48);
static_assert(std::is_standard_layout_v<InLifFailureRow> && std::is_trivially_copyable_v<InLifFailureRow> &&
              std::has_unique_object_representations_v<InLifFailureRow>);

}  // namespace LoamTunnelNiLib

template <>
struct Shoal::RecordTraits<LoamTunnelNiLib::InLifFailureRow> {
  using Record = LoamTunnelNiLib::InLifFailureRow;
  using Key = LoamTunnelNiLib::InLifFailureKey;
  static Key key(Record const& record) noexcept { return record.key; }
  static constexpr char const* typeName = "LoamTunnelNiLib::InLifFailure";
  static constexpr std::uint64_t layout =
      Shoal::layoutSignature({sizeof(Record), 0, 2, 4, 8, 16, 24, 32, 36, 37, 38, 40, 44, 48});
};

namespace LoamTunnelNiLib {

// The failures of one table instance; the writer of the hardware mounts them.
struct InLifFailures {
  using Map = Shoal::ShoalMap<InLifFailureRow, InLifFailureKey>;
  // A full unit, all of it refused. What is refused beyond that is counted.
  static constexpr std::uint32_t kMaxRows = 65536;
};

}  // namespace LoamTunnelNiLib
