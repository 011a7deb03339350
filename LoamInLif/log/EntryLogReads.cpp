// Reads: what stands committed for a key, always from the shared configuration, which is the only store of
// committed entries. A record whose removal waits for clean-up is gone for some reads and present for others.
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogWalk.h"

namespace LoamInLif {

EntryLogCore::LogEntry EntryLogCore::entry(ConfigShoal& config, Key const& key) {
  ConfigRecord const& record = recordRead(config.swTableEntries(), key);
  return record.isDeleted != 0 ? LogEntry() : record.tableEntry;
}

bool EntryLogCore::entryHas(ConfigShoal& config, Key const& key) {
  bool found = false;
  ConfigRecord const& record = recordRead(config.swTableEntries(), key, &found);
  return found && record.isDeleted == 0;
}

bool EntryLogCore::entryCounts(ConfigShoal& config, Key const& key, Asic::UnitId unitId) const {
  return !markedKeys(config, unitId).contains(key.value()) && recordHas(config.swTableEntries(), key);
}

EntryLogCore::ResourceKeys EntryLogCore::entryRsrcKeys(ConfigShoal& config, Key const& key) {
  return recordRead(config.swTableEntries(), key).rsrcKeys;
}

Asic::LogVersion EntryLogCore::entryLogVersion(ConfigShoal& config, Key const& key) {
  return recordRead(config.swTableEntries(), key).logVersion;
}

std::uint32_t EntryLogCore::entrysInDeletion(ConfigShoal& config, Asic::UnitId unitId) const {
  return static_cast<std::uint32_t>(markedKeys(config, unitId).size());
}

}  // namespace LoamInLif
