// The agent's view of the table-version map, which the writer of the hardware keeps: up to which version it
// has taken each log.
//
// Owned by the group. What was read once is remembered: a row never falls in this process, whatever happens to
// the collection. A row that is found damaged is told of, and the version read last stays; before the first
// reading it counts as absent. What cannot be read now, because the writer was faster each time or because
// descriptors are out, is looked for again. What was reported in another boot of the kernel is no report, since
// the hardware has been cold since.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Asic/GroupShoal.h"
#include "Asic/TableVersion.h"
#include "Pivot/Types.h"
#include "Shoal/ShoalReader.h"

namespace Asic {

class GroupAnnouncement;

class LOAM_FRAMEWORK_EXPORT TableVersionMap final {
 public:
  // What is known of one table. reported: by the writer, also when no such record exists. existing: the same,
  // at most the last version that exists, which a lost log can leave below the report.
  struct Row {
    LogVersion reported;
    LogVersion existing;
  };

  // announcement outlives the map and tells which versions exist.
  TableVersionMap(Pivot::String path, GroupAnnouncement const& announcement);
  ~TableVersionMap();

  // Whether the writer has reported on the table.
  bool has(SwTableId tableId);
  // The row of a table, as far as its versions exist; the default row when there is none. The caller acts on
  // it at once and counts as told of it.
  TableVersion row(SwTableId tableId);
  // The highest version that the writer is known to have reported, also in another boot; 0 when there is no row.
  // REQUIRES: the row can be read, or was before: descriptors and memory are not out.
  LogVersion reportedVersion(SwTableId tableId);
  // Whether the writer has met damage in a collection of the agent's since the last call. It counts that in the
  // scratchpad of the map.
  bool takeComplaint();

  // The row for a caller who only looks and is not told of it. For the group: the highest version that row()
  // has handed out.
  Row read(SwTableId tableId);
  LogVersion handedOut(SwTableId tableId) const;
  // Whether the collection may have changed since the last call, or has only now been found. One that was
  // replaced by another is noticed after kLookNanoseconds at the latest.
  bool changed();

 private:
  static constexpr std::uint64_t kLookNanoseconds = 20'000'000;
  static constexpr int kReadings = 16;  // of a row that is busy; each is of many attempts

  using Reader = Shoal::ShoalReader<TableVersion>;
  struct Seen {
    SwTableId tableId;
    LogVersion reported;
    LogVersion handedOut;
  };

  bool open();
  std::optional<TableVersion> lookup(SwTableId tableId);
  bool isOfThisBoot();
  Seen* find(SwTableId tableId);
  Seen const* refresh(SwTableId tableId);
  void remember(TableVersion const& row);

  Pivot::String path_;
  GroupAnnouncement const& announcement_;
  std::unique_ptr<Reader> reader_;
  bool ofThisBoot_ = false;           // as found last; the writer vouches for its rows when it starts
  std::uint64_t complaintsSeen_ = 0;  // of this file
  // Why the collection could not be read when it was last looked for, so that it is reported once.
  std::string toldMessage_;
  bool unavailable_ = false;                  // it could not be opened then for want of descriptors or memory
  bool busy_ = false;                         // a row was not read, since the writer changed it each time
  std::optional<std::uint32_t> counterSeen_;  // of this file; none before the first look
  std::uint64_t lookedAt_ = 0;
  std::array<Seen, kMaxTablesOfGroup> seen_;
  std::size_t seenCount_ = 0;
};

}  // namespace Asic
