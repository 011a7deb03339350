// The shared records by which a group tells the writer of the hardware what it may apply, and after what.
// Both processes include this page and nothing else of the group.
//
// AnnouncedRow, one for each table of the group; written by the agent after each publication:
//
//   offset  width  field        meaning
//        0      4  tableId      key
//        4      4  reserved_    zero
//        8      8  version      every record up to here is complete, its needed versions too; never falls
//
// NeededRow, one for each record that needs other tables; written by the agent before the record is
// announced:
//
//   offset  width  field        meaning
//        0      8  key          tblId of the record's table in the high 16 bits, version of the record below
//        8     96  needs        six TableVersion (16 bytes each); unused ones are zero and stand last
//
// The key is one number, so that the rows of neighbouring versions share a page of the collection's
// directory. With six needs a row and the head of its slot fill two cache lines.
//
// The rows of the table-version map are TableVersion, written by the writer of the hardware.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Asic/TableVersion.h"
#include "Shoal/RecordTraits.h"

namespace Asic {

// A group has at most so many tables: a record can need each of the others.
inline constexpr std::size_t kMaxTablesOfGroup = 7;
// Most records with needed versions that can stand in the logs of a group: more than three logs hold at once.
inline constexpr std::uint32_t kMaxNeededRows = 1u << 22;

struct AnnouncedRow {
  SwTableId tableId;
  std::uint32_t reserved_ = 0;
  LogVersion version;
};
static_assert(sizeof(AnnouncedRow) == 16 && offsetof(AnnouncedRow, tableId) == 0 &&
              offsetof(AnnouncedRow, version) == 8);
static_assert(std::is_trivially_copyable_v<AnnouncedRow> &&
              std::has_unique_object_representations_v<AnnouncedRow>);

class NeededKey {
 public:
  constexpr NeededKey() = default;
  // The table's agent and group are those of the collection. A counter of 48 bits does not come round in the
  // life of a switch.
  constexpr NeededKey(SwTableId tableId, LogVersion version)
      : value_(std::uint64_t{tableId.tblId()} << 48 | (version.value() & 0xFFFFFFFFFFFF)) {}

  constexpr std::uint64_t value() const { return value_; }
  friend constexpr auto operator<=>(NeededKey, NeededKey) = default;

 private:
  std::uint64_t value_ = 0;
};
static_assert(sizeof(NeededKey) == 8);

struct NeededRow {
  NeededKey key;
  std::array<TableVersion, kMaxTablesOfGroup - 1> needs;
};
static_assert(sizeof(NeededRow) == 104 && offsetof(NeededRow, key) == 0 && offsetof(NeededRow, needs) == 8);
static_assert(std::is_trivially_copyable_v<NeededRow> && std::has_unique_object_representations_v<NeededRow>);

}  // namespace Asic

template <>
struct Shoal::RecordTraits<Asic::AnnouncedRow> {
  using Key = Asic::SwTableId;
  static Key key(Asic::AnnouncedRow const& row) { return row.tableId; }
  static constexpr char const* typeName = "Asic::AnnouncedRow";
  static constexpr std::uint64_t layout =
      Shoal::layoutSignature({sizeof(Asic::AnnouncedRow), offsetof(Asic::AnnouncedRow, tableId),
                              offsetof(Asic::AnnouncedRow, version)});
};

template <>
struct Shoal::RecordTraits<Asic::NeededRow> {
  using Key = Asic::NeededKey;
  static Key key(Asic::NeededRow const& row) { return row.key; }
  static constexpr char const* typeName = "Asic::NeededRow";
  static constexpr std::uint64_t layout =
      Shoal::layoutSignature({sizeof(Asic::NeededRow), offsetof(Asic::NeededRow, key),
                              offsetof(Asic::NeededRow, needs), sizeof(Asic::TableVersion)});
};

template <>
struct Shoal::RecordTraits<Asic::TableVersion> {
  using Key = Asic::SwTableId;
  static Key key(Asic::TableVersion const& row) { return row.tableId(); }
  static constexpr char const* typeName = "Asic::TableVersion";
  static constexpr std::uint64_t layout =
      Shoal::layoutSignature({sizeof(Asic::TableVersion), Asic::TableVersionLayout::kTableIdOffset,
                              Asic::TableVersionLayout::kLogVersionOffset});
};
