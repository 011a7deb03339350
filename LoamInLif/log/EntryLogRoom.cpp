// Room: what is asked before anything is published.
#include <fmt/format.h>

#include "LoamInLif/log/EntryLogCore.h"
#include "Shoal/ReportedReads.h"

namespace LoamInLif {

// Who gets how much of a log that is nearly full. Each asks for more than it takes, so that the rest is left for
// those below it:
//
//   asks       for so many records  so that
//   update     2 units + 2          an operation finds what it asks for
//   operation  2 units + 1          an operation of each unit, found ready and not committed yet, and a clear of
//                                   each unit, which its hooks may ask for before it commits, find theirs
//   clear      2                    the operation in whose hook it is asked for finds its own
std::uint32_t EntryLogCore::recordsOf(Asker asker) const {
  auto const units = static_cast<std::uint32_t>(units_.size());
  switch (asker) {
    case Asker::update:
      return 2 * units + 2;
    case Asker::operation:
      return 2 * units + 1;
    default:
      return 2;
  }
}

// Each record may have needs.
Pivot::Status EntryLogCore::logRoom(std::uint32_t records) const {
  if (Pivot::Status status = log().reserve(records); !status) return status;
  return groupInterface()->reserve(records);
}

// A record that is there is replaced, for which the store keeps a spare slot, also in a full configuration.
Pivot::Status EntryLogCore::keyRoom(Unit const& unit, Key const& key) const {
  // In a full unit without asking the store, which would word its refusal for each operation.
  if (unit.isFull() && Shoal::holds(unit.entries(), key)) return Pivot::Status::ok();
  Pivot::Status status = unit.entries().reserve(1);
  return status || !Shoal::holds(unit.entries(), key) ? status : Pivot::Status::ok();
}

Pivot::Status EntryLogCore::reserveRoom(Asic::UnitId unitId, Key const* newKey) {
  Unit& of = unit(unitId);
  Pivot::Status status = takeRoom(of, newKey);
  if (status) {
    of.refusal.reset();
  } else {
    of.refusal = status.message();
  }
  return status;
}

Pivot::String const* EntryLogCore::roomRefusal(Asic::UnitId unitId) const {
  auto const at = units_.find(unitId);
  return at != units_.end() && at->second.refusal ? &*at->second.refusal : nullptr;
}

bool EntryLogCore::isFull() const {
  return log().size() >= log().maximum();
}

Pivot::Status EntryLogCore::takeRoom(Unit const& unit, Key const* newKey) const {
  if (isFull()) {
    return Pivot::Status::refused(
        fmt::format("the log holds {} records, of at most {}", log().size(), log().maximum()));
  }
  if (newKey != nullptr) {
    if (Pivot::Status status = keyRoom(unit, *newKey); !status) {
      if (!unit.isFull()) return status;
      if (std::size_t const marked = unit.markedKeys().size(); marked != 0)
        return Pivot::Status::refused(
            fmt::format("unit {} is full while {} removed entries wait for clean-up", unit.id, marked));
      // Full of live entries: the commit fails the write.
    }
  }
  return logRoom(recordsOf(Asker::operation));
}

bool EntryLogCore::unitHasRoomForKey(Asic::UnitId unitId, Key const& key) const {
  Unit const& of = unit(unitId);
  return !of.isFull() || !of.markedKeys().empty() || Shoal::holds(of.entries(), key);
}

// A refusal here is a caller's that has not asked before.
bool EntryLogCore::isRefused(Pivot::Status const& room, char const* what, Asic::UnitId unitId,
                             Key const& key) const {
  if (room) [[likely]]
    return false;
  VEX_TRACE(trace_, 1, " {} of key: {} unitId: {} is not published: {}", what, key, unitId, room.message());
  return true;
}

}  // namespace LoamInLif
