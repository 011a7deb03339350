#pragma once
// The entry log of one instance: the one class that writes, reads and cleans what the instance shares with
// the writer of the hardware. It owns the mounted change log, and one mounted configuration for each unit
// that has a table. The table and its interface call it, on the agent's one thread; it takes no lock. The
// shared memory outlives it.
//
// This template carries the operations under their names, the trace facility and the log messages of the
// instance; the logic is EntryLogCore's, which knows no instance. The real classes, InLif0EntryLog and so on,
// stand in InLifNEntryLog.h.
//
// Invariants:
//  1. From the end of construction on the change log is mounted, no intent of an earlier run stands, and
//     tableVersion is that of the scratchpad.
//  2. Reads and writes name a mounted unit.
//  3. A log record of version v is seen by another process only when the unit's configuration holds the state
//     of v or a later one.
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Asic/EntryLogBase.h"
#include "Asic/GroupInterface.h"
#include "Asic/LogVersion.h"
#include "Asic/NeededEntry.h"
#include "Asic/SwTableId.h"
#include "Asic/SwTableStats.h"
#include "Asic/UnitId.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/InLifNConstants.h"
#include "LoamInLif/Instance.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"
#include "Shoal/MountInfo.h"
#include "Statehub/EntityManager.h"
#include "Vex/HashMap2018.h"
#include "Vex/LogHandle.h"
#include "Vex/Trace.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT EntryLogOf : public Asic::EntryLogBase {
 public:
  using LogShoal = LoamTunnelNiLib::InLifModelEntryLogShoal;
  using ConfigShoal = LoamTunnelNiLib::InLifModelConfigShoal;
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  using LogEntry = LoamTunnelNiLib::InLifModelLogEntry;
  using ResourceKeys = LoamTunnelNiLib::InLifModelResourceKeys;
  using NeededPtr = Pivot::Ptr<Asic::NeededEntry const>;
  using HN_TableConfigShoal = Vex::Hm2018NE<Asic::UnitId, Pivot::Ptr<ConfigShoal>>;

  /// Mounts the change log, settles what a killed run left half-done, and announces tableVersion to the
  /// group.
  EntryLogOf(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
             Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName);
  ~EntryLogOf() override;

  Pivot::Ptr<LogShoal> const& tableEntryLog() const { return tableEntryLog_; }
  /// The configuration of a unit, or null when it is not mounted.
  Pivot::Ptr<ConfigShoal> tableConfigShoal(Asic::UnitId unitId) const;
  bool tableConfigShoalHas(Asic::UnitId unitId) const { return tableConfigShoal_.has(unitId); }
  /// Adds or replaces; a null configuration removes the unit.
  void tableConfigShoalIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config);
  /// Returns what was removed, or null.
  Pivot::Ptr<ConfigShoal> tableConfigShoalDel(Asic::UnitId unitId);
  void tableConfigShoalDelAll() { tableConfigShoal_.clear(); }

  // Mounting. A collection that lost earlier contents is reported with HW_ABSTRACTION_ERROR, the relaunch
  // generation of the agent moves, and the start goes on; neither has a failure result.
  void handleInitialized();
  void mountShoalChangeLog();
  /// Mounts a unit's configuration. `tableVersion` is the version up to which the hardware has taken the log,
  /// 0 if none is known: marked records up to it are dropped. A unit that does not agree with the log, since
  /// one of them was lost, is published anew.
  void mountShoalConfig(Asic::UnitId unitId, Asic::LogVersion tableVersion);
  /// Whether mountShoalConfig will come to its end, for a caller who can do without the unit.
  [[nodiscard]] Pivot::Status configMountable(Asic::UnitId unitId);

  // Publishing. Each takes one new version, and returns it. REQUIRES room, by the operations below; without it
  // nothing is published, and the result is 0.
  /// Writes an entry under tableEntry.key. With `suppressIdenticalWrites`, a write that changes nothing
  /// publishes nothing and returns the version of the record that stands. `neededEntry` may be null.
  Asic::LogVersion entryIs(LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
                           NeededPtr const& neededEntry, Asic::UnitId unitId,
                           Pivot::Ptr<Asic::SwTableStats> const& stats, bool suppressIdenticalWrites);
  /// Marks the record of `key`; 0 when there is none, and nothing is published.
  Asic::LogVersion entryDel(Key const& key, NeededPtr const& neededEntry, Asic::UnitId unitId);
  /// Marks every live record of the unit under one version; published also when none is live.
  Asic::LogVersion tableDel(NeededPtr const& neededEntry, Asic::UnitId unitId);

  /// Damage was met while this run goes on, here or by the writer of the hardware. Drops what cannot be read in log
  /// and configurations, publishes what does not agree then anew, and reports a loss as a mount does.
  void mend() override;
  /// The unit whose configuration lies there. None, which is told, of a file that is no unit's.
  std::optional<Asic::UnitId> unitOf(Pivot::String const& configPath) const;
  /// What was found lost since the last call, by mounts and mends: "change log" or "unit N".
  std::vector<Pivot::String> lossesTake() { return std::exchange(losses_, {}); }

  /// Removes the log records up to `tableVersion`, which the hardware has taken, and with each removal among
  /// them the configuration records that it marked.
  void cleanupEntryLog(Asic::LogVersion tableVersion) override;

  // Reads. An absent key gives the default value, 0 or false.
  /// Whether somebody wants to see each of them.
  bool tracesReads() const { return trace_.enabled(8); }
  /// The default also for a key whose removal waits for clean-up.
  LogEntry entry(Key const& key, Asic::UnitId unitId) const;
  /// False also for a key whose removal waits for clean-up.
  bool entryHas(Key const& key, Asic::UnitId unitId) const;
  /// The same for who counts many keys: what the record holds is not verified, as entrys() does not either.
  bool entryCounts(Key const& key, Asic::UnitId unitId) const;
  /// Looks through a removal that waits for clean-up.
  ResourceKeys entryRsrcKeys(Key const& key, Asic::UnitId unitId) const;
  /// Looks through a removal that waits for clean-up.
  Asic::LogVersion entryLogVersion(Key const& key, Asic::UnitId unitId) const;
  /// Records that are not marked; one pass over the unit.
  std::uint32_t entrys(Asic::UnitId unitId) const;
  /// Records whose removal waits for clean-up; one pass over the unit.
  std::uint32_t entrysInDeletion(Asic::UnitId unitId) const;

  // Room, asked before anything is published. The log keeps some for an operation of each unit that was found
  // ready, and for a clear of each: only these get the last of it.
  /// Reserves space for an operation of the unit: log record, configuration record and row of needed versions.
  /// Refused while there is none; `newKey`, if given, is a key about to be written, which a unit that marked
  /// records keep full cannot take before a clean-up.
  Pivot::Status roomReserve(Asic::UnitId unitId, Key const* newKey = nullptr);
  /// Whether an entry that stands may be published once more, and whether a unit may be cleared.
  Pivot::Status updateRoom() const { return core_.updateRoom(); }
  Pivot::Status clearRoom() const { return core_.clearRoom(); }
  /// Whether the log has as many records as operations of clients may bring it to.
  bool isFull() const;
  /// What refused room when the unit last asked for it; null when it got room. Asks for nothing.
  Pivot::String const* roomRefusal(Asic::UnitId unitId) const;
  /// False when the key is new and the unit holds as many live records as it may.
  bool unitHasRoomForKey(Asic::UnitId unitId, Key const& key) const;

  /// Whether the unit is still to be published anew after a loss, for want of room.
  bool repairStands(Asic::UnitId unitId) const { return core_.repairStands(unitId); }

 private:
  friend struct RecordOf<EntryLogOf>;

  static ConfigShoal* configOf(Asic::EntryLogBase const& log, Asic::UnitId unitId);
  static constexpr char const* kConfigTypeName = "LoamTunnelNiLib::InLifModelConfigShoal";
  static void declareConfig(VexShoal::MountInfo& info);
  void configsMount();
  Pivot::Ptr<ConfigShoal> configStore(Asic::UnitId unitId);
  Pivot::Ptr<ConfigShoal> mountConfig(Asic::UnitId unitId);
  void logLossTell();
  void configLossTell(Asic::UnitId unitId);
  ConfigShoal& config(Asic::UnitId unitId) const;

  /// The three messages of the entry log, registered when the library is loaded.
  struct Messages {
    Vex::LogHandle error;
    Vex::LogHandle relaunchError;
    Vex::LogHandle exception;
    Messages();
  };
  static Vex::TraceHandle trace_;
  static Messages messages_;

  Pivot::Ptr<LogShoal> tableEntryLog_;
  Vex::HashMap2018<HN_TableConfigShoal, I::Seeds::tableConfigShoal> tableConfigShoal_;
  /// Every configuration that the store has, also of units without a table.
  std::map<Asic::UnitId, Pivot::Ptr<ConfigShoal>> storedConfig_;
  std::vector<Pivot::String> losses_;
  EntryLogCore core_;
};

}  // namespace LoamInLif
