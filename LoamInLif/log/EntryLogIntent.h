// The intent: a note in the control area of the change log that says which publication is under way. It is
// written after the version is taken and before the configuration is touched, and cleared after the group was
// told, so a log that is opened with one standing knows what the dead run was doing, and finishes or drops
// it. The agent alone writes and reads it; the store checks that it is whole.
//
// | offset | width  | field       | meaning                                                        |
// |--------|--------|-------------|----------------------------------------------------------------|
// | 0      | u64    | version     | the log version of the publication                             |
// | 8      | u32    | key         | the entry key; 0 for a table delete                            |
// | 12     | u16    | unitId      | the unit concerned                                             |
// | 14     | u8     | kind        | IntentKind                                                     |
// | 15     | u8     | neededCount | rows in use below                                              |
// | 16     | 11 x16 | needed      | per row: u64 version, u32 table id, u32 reserved (0)           |
//
// Only the rows in use are written, so that a publication without needs costs 16 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace LoamInLif {

// What a publication does. The numbers are stored.
enum class IntentKind : std::uint8_t {
  none = 0,
  write = 1,
  removal = 2,
  tableDelete = 3,
  // The table delete that opens the repair of a unit: a log record alone, which marks nothing.
  repairDelete = 4,
};

struct EntryLogIntent {
  struct Needed {
    std::uint64_t version;
    std::uint32_t tableId;
    std::uint32_t reserved;
  };
  static constexpr std::size_t maxNeeded = 11;

  std::uint64_t version;
  std::uint32_t key;
  std::uint16_t unitId;
  IntentKind kind;
  std::uint8_t neededCount;
  Needed needed[maxNeeded];

  // The bytes in use.
  std::size_t size() const { return offsetof(EntryLogIntent, needed) + neededCount * sizeof(Needed); }
};

static_assert(sizeof(EntryLogIntent) == 192 && std::is_trivially_copyable_v<EntryLogIntent> &&
              std::is_standard_layout_v<EntryLogIntent>);
static_assert(offsetof(EntryLogIntent, version) == 0 && offsetof(EntryLogIntent, key) == 8 &&
              offsetof(EntryLogIntent, unitId) == 12 && offsetof(EntryLogIntent, kind) == 14 &&
              offsetof(EntryLogIntent, neededCount) == 15 && offsetof(EntryLogIntent, needed) == 16);
static_assert(sizeof(EntryLogIntent::Needed) == 16 && offsetof(EntryLogIntent::Needed, tableId) == 8);

}  // namespace LoamInLif
