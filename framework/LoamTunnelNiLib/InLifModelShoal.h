// The two kinds of shared collection in which a table publishes what it has committed: the change log of a
// table instance (what happened, one record for each log version) and the configuration of one of its units
// (what stands now, one record for each key). The agent owns and writes them; the writer of the hardware and
// the inspection tools read them; both survive a restart of the agent.
//
// The layouts are a format shared with other processes and with the memory that an earlier run left. Integers
// are little-endian.
//
// InLifModelConfigShoalEntry, 784 bytes, written by the agent, keyed by tableEntry.key:
//
//   offset  width  field        default
//   0       96     tableEntry   the default log entry
//   96      672    rsrcKeys     the default keys
//   768     u64    logVersion   0        version of the last write or removal of the key
//   776     u8     isDeleted    0        1: the key was removed, the record waits for clean-up
//   777     7      reserved777  0
//
// InLifModelLogShoalEntry, 112 bytes, written by the agent, keyed by logVersion:
//
//   offset  width  field        default
//   0       u64    logVersion   0
//   8       96     logEntry     the default log entry
//   104     u16    unitId       0xFFFF
//   106     u8     logFlags     0        bit 0 isEntryDeleted, bit 1 isTableDeleted
//   107     5      reserved107  0
//
//   logFlags  logEntry                       says
//   0         the new log entry              the key has this value on the unit
//   1         the last log entry of the key  the key is gone from the unit
//   2         a default one; its key is void every entry of the unit is gone
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Asic/LogVersion.h"
#include "Asic/UnitId.h"
#include "Cobble/Export.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "Pivot/Node.h"
#include "Shoal/CollectionControl.h"
#include "Shoal/ShoalMap.h"

namespace LoamTunnelNiLib {

struct LOAM_FRAMEWORK_EXPORT InLifModelConfigShoalEntry {
  static constexpr bool kFormatsAsText = true;

  InLifModelLogEntry tableEntry{};
  InLifModelResourceKeys rsrcKeys{};
  Asic::LogVersion logVersion{};
  std::uint8_t isDeleted = 0;
  std::uint8_t reserved777[7] = {};

  InLifModelEntryKey const& key() const noexcept { return tableEntry.key; }
  InLifModelEntry entry() const noexcept { return {tableEntry, rsrcKeys}; }
  bool isEq(InLifModelConfigShoalEntry const& other) const noexcept {
    return logVersion == other.logVersion && isDeleted == other.isDeleted &&
           tableEntry.isEq(other.tableEntry) && rsrcKeys.isEq(other.rsrcKeys);
  }
  friend bool operator==(InLifModelConfigShoalEntry const& a, InLifModelConfigShoalEntry const& b) noexcept {
    return a.isEq(b);
  }
  std::string text() const;
};

static_assert(sizeof(InLifModelConfigShoalEntry) == 784);
static_assert(offsetof(InLifModelConfigShoalEntry, tableEntry) == 0);
static_assert(offsetof(InLifModelConfigShoalEntry, rsrcKeys) == 96);
static_assert(offsetof(InLifModelConfigShoalEntry, logVersion) == 768);
static_assert(offsetof(InLifModelConfigShoalEntry, isDeleted) == 776);
static_assert(offsetof(InLifModelConfigShoalEntry, reserved777) == 777);
static_assert(std::is_standard_layout_v<InLifModelConfigShoalEntry> &&
              std::is_trivially_copyable_v<InLifModelConfigShoalEntry>);

struct LOAM_FRAMEWORK_EXPORT InLifModelLogShoalEntry {
  static constexpr bool kFormatsAsText = true;
  static constexpr std::uint8_t kIsEntryDeleted = 0x01;
  static constexpr std::uint8_t kIsTableDeleted = 0x02;

  Asic::LogVersion logVersion{};
  InLifModelLogEntry logEntry{};
  Asic::UnitId unitId = Asic::kNoUnit;
  std::uint8_t logFlags = 0;
  std::uint8_t reserved107[5] = {};

  Asic::LogVersion const& version() const noexcept { return logVersion; }
  bool isEntryDeleted() const noexcept { return (logFlags & kIsEntryDeleted) != 0; }
  bool isTableDeleted() const noexcept { return (logFlags & kIsTableDeleted) != 0; }
  bool isEq(InLifModelLogShoalEntry const& other) const noexcept {
    return logVersion == other.logVersion && unitId == other.unitId && logFlags == other.logFlags &&
           logEntry.isEq(other.logEntry);
  }
  friend bool operator==(InLifModelLogShoalEntry const& a, InLifModelLogShoalEntry const& b) noexcept {
    return a.isEq(b);
  }
  std::string text() const;
};

static_assert(sizeof(InLifModelLogShoalEntry) == 112);
static_assert(offsetof(InLifModelLogShoalEntry, logVersion) == 0);
static_assert(offsetof(InLifModelLogShoalEntry, logEntry) == 8);
static_assert(offsetof(InLifModelLogShoalEntry, unitId) == 104);
static_assert(offsetof(InLifModelLogShoalEntry, logFlags) == 106);
static_assert(offsetof(InLifModelLogShoalEntry, reserved107) == 107);
static_assert(std::is_standard_layout_v<InLifModelLogShoalEntry> &&
              std::is_trivially_copyable_v<InLifModelLogShoalEntry>);

}  // namespace LoamTunnelNiLib

template <>
struct Shoal::RecordTraits<LoamTunnelNiLib::InLifModelConfigShoalEntry> {
  using Record = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  static Key key(Record const& record) noexcept { return record.key(); }
  static constexpr char const* typeName = "LoamTunnelNiLib::InLifModelConfigShoal";
  static constexpr std::uint64_t layout = Shoal::layoutSignature(
      {sizeof(Record), 0, 96, 768, 776, sizeof(LoamTunnelNiLib::InLifModelLogEntry), 16, 20, 32, 36, 85, 89,
       sizeof(LoamTunnelNiLib::InLifModelResourceKeys), 32, 80, 112, 656, 664});
};

template <>
struct Shoal::RecordTraits<LoamTunnelNiLib::InLifModelLogShoalEntry> {
  using Record = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using Key = Asic::LogVersion;
  static Key key(Record const& record) noexcept { return record.version(); }
  static constexpr char const* typeName = "LoamTunnelNiLib::InLifModelEntryLogShoal";
  static constexpr std::uint64_t layout = Shoal::layoutSignature(
      {sizeof(Record), 0, 8, 104, 106, sizeof(LoamTunnelNiLib::InLifModelLogEntry), 16, 20, 32, 36, 85, 89});
};

namespace LoamTunnelNiLib {

// The change log of one table instance. Mounted through VexSharedMem under the type name above; on the
// agent's one thread.
class LOAM_FRAMEWORK_EXPORT InLifModelEntryLogShoal final : public Pivot::Node {
 public:
  using Map = Shoal::ShoalMap<InLifModelLogShoalEntry, Asic::LogVersion>;
  static constexpr char const* kTypeName = Shoal::RecordTraits<InLifModelLogShoalEntry>::typeName;
  static constexpr char const* kAttribute = "entryLogConfig";
  // What a client declares at the mount, and what the store takes beyond it: room for what must be published
  // although the log is full (updates, clears, repairs after a loss).
  static constexpr std::uint32_t kMaxEntries = 1000000;
  static constexpr std::uint32_t kStoreCapacity = 1u << 21;

  InLifModelEntryLogShoal() = default;
  ~InLifModelEntryLogShoal() override;
  Pivot::TypeData typeData() const override;

  Map& entryLogConfig() noexcept { return map_; }
  Map const& entryLogConfig() const noexcept { return map_; }
  // Inserts or replaces the record of record.version(). REQUIRES: room was reserved, or the version is there.
  void entryLogConfigIs(InLifModelLogShoalEntry const& record) { map_.set(record); }
  // False when there was none.
  bool entryLogConfigDel(Asic::LogVersion const& version) { return map_.del(version); }
  VexShoal::CollectionControl& collectionControl() noexcept { return map_.collectionControl(); }
  // For the mount.
  Shoal::ShoalMapBase& shoalMap() noexcept { return map_; }

 private:
  Map map_;
};

// The configuration of one unit of a table instance. As above.
class LOAM_FRAMEWORK_EXPORT InLifModelConfigShoal final : public Pivot::Node {
 public:
  using Map = Shoal::ShoalMap<InLifModelConfigShoalEntry, InLifModelEntryKey>;
  static constexpr char const* kTypeName = Shoal::RecordTraits<InLifModelConfigShoalEntry>::typeName;
  static constexpr char const* kAttribute = "swTableEntries";
  static constexpr std::uint32_t kMaxEntries = 65536;

  InLifModelConfigShoal() = default;
  ~InLifModelConfigShoal() override;
  Pivot::TypeData typeData() const override;

  Map& swTableEntries() noexcept { return map_; }
  Map const& swTableEntries() const noexcept { return map_; }
  // Inserts or replaces the record of record.key(). REQUIRES: room was reserved, or the key is there.
  void swTableEntriesIs(InLifModelConfigShoalEntry const& record) { map_.set(record); }
  // The same from the parts of a record, each copied once, into its slot.
  void swTableEntriesIs(InLifModelLogEntry const& tableEntry, InLifModelResourceKeys const& rsrcKeys,
                        Asic::LogVersion version, bool isDeleted) {
    std::uint64_t const tail[2] = {version.value(), isDeleted ? 1u : 0u};
    map_.setPieces(tableEntry.key,
                   {{&tableEntry, sizeof tableEntry}, {&rsrcKeys, sizeof rsrcKeys}, {tail, sizeof tail}});
  }
  // False when there was none.
  bool swTableEntriesDel(InLifModelEntryKey const& key) { return map_.del(key); }
  VexShoal::CollectionControl& collectionControl() noexcept { return map_.collectionControl(); }
  // For the mount.
  Shoal::ShoalMapBase& shoalMap() noexcept { return map_; }

 private:
  Map map_;
};

}  // namespace LoamTunnelNiLib
