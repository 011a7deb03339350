// Room: what is asked before an operation may commit, and what becomes of a publication that finds none.
#include <fmt/format.h>

#include "LoamInLif/EntryLogCore.h"
#include "LoamInLif/EntryLogWalk.h"
#include "LoamInLif/Instance.h"

namespace LoamInLif {

Pivot::Status EntryLogCore::roomFor(ConfigShoal& config, std::uint32_t publications) const {
  // A full configuration still takes replacements, for which the store keeps a spare slot.
  auto& entries = config.swTableEntries();
  if (entries.size() < entries.maximum()) {
    if (Pivot::Status status = entries.reserve(1); !status) return status;
  }
  return logRoomFor(publications);
}

Pivot::Status EntryLogCore::logRoomFor(std::uint32_t publications) const {
  if (Pivot::Status status = shoal_->entryLogConfig().reserve(publications); !status) return status;
  return log_.groupInterface()->reserve();
}

Pivot::Status EntryLogCore::roomReserve(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey,
                                        std::size_t units) {
  Pivot::Status status = roomTake(config, unitId, newKey, units);
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

Pivot::Status EntryLogCore::roomTake(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey,
                                     std::size_t units) {
  std::uint32_t const records = shoal_->entryLogConfig().size();
  if (records >= FamilyConstants::maxLogRecords) {
    return Pivot::Status::refused(
        fmt::format("the log holds {} records, of at most {}", records, FamilyConstants::maxLogRecords));
  }
  if (newKey != nullptr && isFull(config) && unitHasRoomForKey(config, unitId, *newKey) &&
      !recordHas(config.swTableEntries(), *newKey)) {
    return Pivot::Status::refused(fmt::format("unit {} is full while {} removed entries wait for clean-up",
                                              unitId, markedKeys(config, unitId).size()));
  }
  // Of each unit one operation at most has been found ready and has not committed yet; each must find its
  // room, whichever of them commits first.
  return roomFor(config, static_cast<std::uint32_t>(units) + 1);
}

bool EntryLogCore::isFull(ConfigShoal& config) {
  return config.swTableEntries().size() >= FamilyConstants::maxConfigRecords;
}

bool EntryLogCore::unitHasRoomForKey(ConfigShoal& config, Asic::UnitId unitId, Key const& key) const {
  return !isFull(config) || !markedKeys(config, unitId).empty() || recordHas(config.swTableEntries(), key);
}

void EntryLogCore::writeDefer(Asic::UnitId unitId, Deferred deferred, Pivot::Status const& refusal) {
  Key const key = deferred.entry.key;
  VEX_TRACE(trace_, 1, " key: {} unitId: {}: the old record stays until the next clean-up: {}", key, unitId,
            refusal.message());
  deferredWrites_.insert_or_assign(UnitKey(unitId, key.value()), std::move(deferred));
}

void EntryLogCore::clearDefer(Asic::UnitId unitId, NeededPtr const& needed, Pivot::Status const& refusal) {
  VEX_TRACE(trace_, 1, " unitId: {} is cleared only after the next clean-up: {}", unitId, refusal.message());
  deferredClears_.insert_or_assign(unitId, needed);
}

void EntryLogCore::deferredForget(Asic::UnitId unitId, Key const& key) {
  deferredWrites_.erase(UnitKey(unitId, key.value()));
}

void EntryLogCore::deferredRedo() {
  // Whoever finds no room has said so when it was set aside.
  if (!logRoomFor(1)) return;
  std::set<Asic::UnitId> repairs;
  repairs.swap(deferredRepairs_);
  for (Asic::UnitId const unitId : repairs) {
    if (ConfigShoal* const config = configOf_(log_, unitId)) unitRepair(*config, unitId);
  }
  std::map<Asic::UnitId, NeededPtr> clears;
  clears.swap(deferredClears_);
  for (auto const& [unitId, needed] : clears) {
    ConfigShoal* const config = configOf_(log_, unitId);
    if (config == nullptr) continue;
    if (roomFor(*config, 1)) {
      clearPublish(*config, needed, unitId);
    } else {
      deferredClears_.insert_or_assign(unitId, needed);
    }
  }
  std::map<UnitKey, Deferred> writes;
  writes.swap(deferredWrites_);
  for (auto& [unitKey, write] : writes) {
    if (ConfigShoal* const config = configOf_(log_, unitKey.first)) {
      writeRedo(*config, unitKey.first, std::move(write));
    }
  }
}

void EntryLogCore::writeRedo(ConfigShoal& config, Asic::UnitId unitId, Deferred write) {
  if (!roomFor(config, 1)) {
    UnitKey const unitKey(unitId, write.entry.key.value());
    deferredWrites_.insert_or_assign(unitKey, std::move(write));
  } else if (write.isRemoval) {
    removalPublish(config, write.entry, write.keys, write.needed, unitId);
  } else {
    Asic::LogVersion const version =
        publicationBegin(IntentKind::write, unitId, write.entry.key, write.needed);
    writePublish(config, write.entry, write.keys, write.needed, unitId, version);
  }
}

}  // namespace LoamInLif
