// Reads: what stands committed for a key, always from the shared configuration, which is the only store of
// committed entries. A record whose removal waits for clean-up is gone for some reads and present for others.
#include "LoamInLif/log/EntryLogCore.h"
#include "Shoal/ReportedReads.h"

namespace LoamInLif {

EntryLogCore::LogEntry EntryLogCore::entry(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  ConfigRecord const& record = Shoal::recordOrDefault(unit(unitId).entries(), key);
  return record.isDeleted != 0 ? LogEntry() : record.tableEntry;
}

bool EntryLogCore::entryHas(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  bool found = false;
  ConfigRecord const& record = Shoal::recordOrDefault(unit(unitId).entries(), key, &found);
  return found && record.isDeleted == 0;
}

bool EntryLogCore::entryCounts(Key const& key, Asic::UnitId unitId) const {
  // The pass shows up in the trace.
  if (trace_.enabled(8)) return entryHas(key, unitId);
  Unit const& of = unit(unitId);
  return !of.markedKeys().contains(key.value()) && Shoal::holds(of.entries(), key);
}

EntryLogCore::ResourceKeys EntryLogCore::entryRsrcKeys(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return Shoal::recordOrDefault(unit(unitId).entries(), key).rsrcKeys;
}

Asic::LogVersion EntryLogCore::entryLogVersion(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return Shoal::recordOrDefault(unit(unitId).entries(), key).logVersion;
}

std::uint32_t EntryLogCore::entrys(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  // Both counts are looked up on their own, so the pass shows up in the trace as it would for a caller.
  return unit(unitId).entries().size() - entrysInDeletion(unitId);
}

std::uint32_t EntryLogCore::entrysInDeletion(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  return static_cast<std::uint32_t>(unit(unitId).markedKeys().size());
}

}  // namespace LoamInLif
