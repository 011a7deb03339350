// Room: what is asked before anything is published.
#include <fmt/format.h>

#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogWalk.h"
#include "LoamInLif/Instance.h"

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
  auto const units = static_cast<std::uint32_t>(stored_.size());
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
  if (Pivot::Status status = shoal_->entryLogConfig().reserve(records); !status) return status;
  return log_.groupInterface()->reserve(records);
}

// A record that is there is replaced, for which the store keeps a spare slot, also in a full configuration.
Pivot::Status EntryLogCore::keyRoom(ConfigShoal& config, Key const& key) const {
  // In a full unit without asking the store, which would word its refusal for each operation.
  if (isFull(config) && recordHas(config.swTableEntries(), key)) return Pivot::Status::ok();
  Pivot::Status status = config.swTableEntries().reserve(1);
  return status || !recordHas(config.swTableEntries(), key) ? status : Pivot::Status::ok();
}

Pivot::Status EntryLogCore::roomReserve(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey) {
  Pivot::Status status = roomTake(config, unitId, newKey);
  if (!status) {
    roomRefusals_.insert_or_assign(unitId, status.message());
  } else if (!roomRefusals_.empty()) {
    roomRefusals_.erase(unitId);
  }
  return status;
}

Pivot::String const* EntryLogCore::roomRefusal(Asic::UnitId unitId) const {
  auto const refusal = roomRefusals_.find(unitId);
  return refusal == roomRefusals_.end() ? nullptr : &refusal->second;
}

Pivot::Status EntryLogCore::roomTake(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey) const {
  std::uint32_t const records = shoal_->entryLogConfig().size();
  if (records >= FamilyConstants::maxLogRecords) {
    return Pivot::Status::refused(
        fmt::format("the log holds {} records, of at most {}", records, FamilyConstants::maxLogRecords));
  }
  if (newKey != nullptr) {
    if (Pivot::Status status = keyRoom(config, *newKey); !status) {
      if (!isFull(config)) return status;
      if (std::size_t const marked = markedKeys(config, unitId).size(); marked != 0)
        return Pivot::Status::refused(
            fmt::format("unit {} is full while {} removed entries wait for clean-up", unitId, marked));
      // Full of live entries: the commit fails the write.
    }
  }
  return logRoom(recordsOf(Asker::operation));
}

bool EntryLogCore::isFull(ConfigShoal& config) {
  return config.swTableEntries().size() >= FamilyConstants::maxConfigRecords;
}

bool EntryLogCore::unitHasRoomForKey(ConfigShoal& config, Asic::UnitId unitId, Key const& key) const {
  return !isFull(config) || !markedKeys(config, unitId).empty() || recordHas(config.swTableEntries(), key);
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
