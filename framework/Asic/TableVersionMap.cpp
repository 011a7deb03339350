// Reading what the writer of the hardware reports.
#include "Asic/TableVersionMap.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <utility>

#include "Asic/GroupAnnouncement.h"
#include "Pivot/Exceptions.h"
#include "Shoal/ReportedReads.h"
#include "Vex/Assert.h"
#include "Vex/System.h"
#include "Vex/Trace.h"

namespace Asic {

namespace {

Vex::TraceHandle traceHandle("GroupInterface");

}  // namespace

TableVersionMap::TableVersionMap(Pivot::String path, GroupAnnouncement const& announcement)
    : path_(std::move(path)), announcement_(announcement) {
  // What the writer has complained of so far is met by the mounts of this life.
  if (open()) takeComplaint();
}

TableVersionMap::~TableVersionMap() = default;

bool TableVersionMap::open() {
  lookedAt_ = Vex::System::coarseNanoseconds();
  Reader::Opened opened = Reader::open(path_);
  // What cannot be opened now may hold anything: what was read so far stands, and the next look tries again.
  unavailable_ = opened.state == Shoal::OpenState::unavailable;
  // A map that the writer has not made yet is nothing to report: its message stays untold.
  if (opened.state == Shoal::OpenState::ok || opened.state == Shoal::OpenState::notThereYet)
    opened.message.clear();
  if (std::exchange(toldMessage_, opened.message) != opened.message && !opened.message.empty()) {
    VEX_TRACE(traceHandle, 1, "the table-version map {}: {}",
              unavailable_ ? "cannot be opened now" : "cannot be read, what was read before stays",
              opened.message);
  }
  if (!unavailable_) {
    reader_ = std::move(opened.reader);
    ofThisBoot_ = false;
    // Each file counts changes and complaints for itself: against the numbers of another, such as an older copy put
    // back in its place, one more would look like none.
    counterSeen_.reset();
    complaintsSeen_ = 0;
  }
  return reader_ != nullptr;
}

bool TableVersionMap::isOfThisBoot() {
  if (ofThisBoot_) return true;
  try {
    return ofThisBoot_ = !reader_->isOfAnotherBoot();
  } catch (Pivot::CorruptionDetectedException const& damage) {
    VEX_TRACE(traceHandle, 1, "the table-version map cannot be read, what was read before stays: {}",
              damage.what());
    return false;
  }
}

bool TableVersionMap::takeComplaint() {
  if (reader_ == nullptr) return false;
  try {
    std::uint64_t const complaints = reader_->scratchpad();
    return std::exchange(complaintsSeen_, complaints) != complaints && complaints != 0;
  } catch (Pivot::CorruptionDetectedException const&) {
    return false;  // the rows are told of where they are read
  }
}

bool TableVersionMap::changed() {
  if (reader_ == nullptr) {
    open();
  } else if (reader_->retired() || Vex::System::coarseNanoseconds() - lookedAt_ >= kLookNanoseconds) {
    lookedAt_ = Vex::System::coarseNanoseconds();
    if (reader_->replaced()) open();
  }
  if (reader_ == nullptr) return false;
  // Taken before the rows are read, so that a change between the two is seen the next time.
  std::uint32_t const counter = reader_->changeCounter();
  bool const again = std::exchange(busy_, false);
  return std::exchange(counterSeen_, counter) != counter || again;
}

TableVersionMap::Seen* TableVersionMap::find(SwTableId tableId) {
  std::span const rows(seen_.data(), seenCount_);
  auto const at =
      std::find_if(rows.begin(), rows.end(), [&](Seen const& row) { return row.tableId == tableId; });
  return at == rows.end() ? nullptr : &*at;
}

void TableVersionMap::remember(TableVersion const& row) {
  Seen* seen = find(row.tableId());
  if (seen == nullptr) {
    if (seenCount_ == seen_.size()) return;
    seen = &seen_[seenCount_++];
    seen->tableId = row.tableId();
  }
  seen->reported = std::max(seen->reported, row.logVersion());
}

// The row as it stands, in whichever boot it was written.
std::optional<TableVersion> TableVersionMap::lookup(SwTableId tableId) {
  if (reader_ == nullptr && !open()) return std::nullopt;
  try {
    TableVersion row;
    auto const read = Shoal::steady(kReadings, [&] { return reader_->lookup(tableId, row); });
    if (read == Shoal::ReadResult::found) return row;
    busy_ |= read == Shoal::ReadResult::busy;
  } catch (Pivot::CorruptionDetectedException const& damage) {
    Seen const* const seen = find(tableId);
    VEX_TRACE(traceHandle, 1, "table: {}: damage where its row in the table-version map should be, {}: {}",
              tableId,
              seen == nullptr ? "it counts as absent"
                              : fmt::format("version {}, read before, stays", seen->reported),
              damage.what());
  }
  return std::nullopt;
}

TableVersionMap::Seen const* TableVersionMap::refresh(SwTableId tableId) {
  std::optional<TableVersion> const row = lookup(tableId);
  if (row && isOfThisBoot()) remember(*row);
  return find(tableId);
}

LogVersion TableVersionMap::reportedVersion(SwTableId tableId) {
  bool const busyBefore = std::exchange(busy_, false);
  std::optional<TableVersion> const row = lookup(tableId);
  Seen const* const seen = find(tableId);
  // A report that is not seen would let a new log issue its versions once more.
  bool const isSeen = row.has_value() || seen != nullptr;
  VEX_ASSERT_MSG(isSeen || !unavailable_, "the table-version map can be opened when a log is", "{}",
                 toldMessage_);
  VEX_ASSERT_MSG(isSeen || !busy_, "the table-version map can be read when a log is opened",
                 "row of table {}", tableId);
  busy_ |= busyBefore;
  return std::max(row ? row->logVersion() : LogVersion(), seen != nullptr ? seen->reported : LogVersion());
}

bool TableVersionMap::has(SwTableId tableId) {
  return refresh(tableId) != nullptr;
}

TableVersionMap::Row TableVersionMap::read(SwTableId tableId) {
  Seen const* const seen = refresh(tableId);
  if (seen == nullptr) return {};
  LogVersion const last =
      announcement_.announcedHas(tableId) ? announcement_.announcedVersion(tableId) : seen->reported;
  return {seen->reported, std::min(seen->reported, last)};
}

TableVersion TableVersionMap::row(SwTableId tableId) {
  Row const row = read(tableId);
  Seen* const seen = find(tableId);
  if (seen == nullptr) return {};
  seen->handedOut = std::max(seen->handedOut, row.existing);
  return {tableId, row.existing};
}

LogVersion TableVersionMap::handedOut(SwTableId tableId) const {
  Seen const* const seen = const_cast<TableVersionMap*>(this)->find(tableId);
  return seen == nullptr ? LogVersion() : seen->handedOut;
}

}  // namespace Asic
