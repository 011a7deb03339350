// The agent's view of the table-version map, which the writer of the hardware keeps: up to which version it
// has taken each log.
//
// Owned by the group. A row that is found damaged counts as absent and is reported; a busy one, as it was
// last read. Rows are remembered, so that one falls never in this process, whatever happens to the
// collection.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Asic/GroupShoal.h"
#include "Asic/TableVersion.h"
#include "Pivot/Types.h"

namespace Asic {

class GroupAnnouncement;

class LOAM_FRAMEWORK_EXPORT TableVersionMap final {
 public:
  // announcement outlives the map and tells which versions exist.
  TableVersionMap(Pivot::String path, GroupAnnouncement const& announcement);
  ~TableVersionMap();

  // Whether the writer has reported on the table.
  bool has(SwTableId tableId);
  // The row of a table; the default row, version 0, when there is none. A version above the last one that
  // exists, which a lost log can leave behind, is passed on as that version.
  TableVersion row(SwTableId tableId);
  // The version as the writer reported it, also when no record of it exists; 0 when there is no row.
  LogVersion reportedVersion(SwTableId tableId);

  // Whether anything may have changed since the last call.
  bool changed();

 private:
  struct Reader;
  struct Seen {
    SwTableId tableId;
    LogVersion reported;
  };

  // The remembered row brought up to date, or null when there is none.
  Seen const* refresh(SwTableId tableId);
  Seen* remember(SwTableId tableId, LogVersion reported);
  bool open();

  Pivot::String path_;
  GroupAnnouncement const& announcement_;
  std::unique_ptr<Reader> reader_;
  std::array<Seen, kMaxTablesOfGroup> seen_;
  std::size_t seenCount_ = 0;
};

}  // namespace Asic
