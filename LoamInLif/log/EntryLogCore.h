// The entry log of one instance: the one class that writes, reads and cleans what the instance shares with the
// writer of the hardware. It owns the mounted change log, and the mounted configuration of each unit. The table
// and its interface call it, on the agent's one thread; it takes no lock. The shared memory outlives it.
//
// Everything stands here but the names of the instance: EntryLogOf<I> hands them in. The real classes,
// InLif0EntryLog and so on, stand in InLifNEntryLog.h.
//
// Invariants:
//  1. From the end of construction on the change log is mounted, no intent of an earlier run stands, and
//     tableVersion is that of the scratchpad.
//  2. Reads and writes name a mounted unit.
//  3. A log record of version v is seen by another process only when the unit's configuration holds the state
//     of v or a later one.
//
// A publication has a fixed order, on which readers rely: version, intent, configuration, log record,
// scratchpad, group, intent cleared. At most one is under way. What a process killed after each step leaves:
//   version        nothing: the version lived in the process alone
//   intent         a note about a version that nothing carries; it is dropped, the version is free
//   configuration  records that carry the version; the next run writes the log record and goes on from there
//   log record     as above, with the record present
//   scratchpad     the group is not told; the next run tells it
//   group          all is done but the note; doing the last steps again changes nothing
//
// Whoever publishes asks for room before. What finds none waits where it comes from: an operation in its queue, an
// update or a clear with its table. Only the repair of a unit waits here.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Asic/EntryLogBase.h"
#include "Asic/GroupInterface.h"
#include "Asic/GroupResolver.h"
#include "Asic/LogVersion.h"
#include "Asic/NeededEntry.h"
#include "Asic/SwTableId.h"
#include "Asic/SwTableStats.h"
#include "Asic/UnitId.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/log/EntryLogIntent.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"
#include "Shoal/CollectionControl.h"
#include "Shoal/ShoalMap.h"
#include "Statehub/EntityManager.h"
#include "Vex/LogHandle.h"
#include "Vex/Trace.h"

namespace LoamInLif {

class LOAM_INLIF_EXPORT EntryLogCore : public Asic::EntryLogBase {
 public:
  using LogShoal = LoamTunnelNiLib::InLifModelEntryLogShoal;
  using ConfigShoal = LoamTunnelNiLib::InLifModelConfigShoal;
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using ConfigRecord = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  using LogEntry = LoamTunnelNiLib::InLifModelLogEntry;
  using ResourceKeys = LoamTunnelNiLib::InLifModelResourceKeys;
  using NeededPtr = Pivot::Ptr<Asic::NeededEntry const>;

  Pivot::Ptr<LogShoal> const& tableEntryLog() const { return tableEntryLog_; }

  // Mounting (EntryLogMount.cpp). A collection that lost earlier contents is reported with HW_ABSTRACTION_ERROR,
  // the relaunch generation of the agent moves, and the start goes on; neither has a failure result.
  void handleInitialized();
  // Mounts the change log and settles what a killed run left half-done; announces tableVersion to the group once,
  // which heals a group that has lost it.
  void mountShoalChangeLog();
  // Whether mounting a unit's configuration will come to its end, for a caller who can do without the unit.
  [[nodiscard]] Pivot::Status configMountable(Asic::UnitId unitId);
  // The unit whose configuration lies there. None, which is told, of a file that is no unit's.
  std::optional<Asic::UnitId> unitOf(Pivot::String const& configPath) const;
  // Damage was met while this run goes on, here or by the writer of the hardware. Drops what cannot be read in log
  // and configurations, publishes what does not agree then anew, and reports a loss as a mount does.
  void mend() override;
  // What was found lost since the last call, by mounts and mends: "change log" or "unit N".
  std::vector<Pivot::String> takeLosses() { return std::exchange(losses_, {}); }

  // Publishing. Each takes one new version, and returns it. REQUIRES room, by the operations
  // below; without it nothing is published, and the result is 0.
  // Writes an entry under tableEntry.key. With `suppressIdenticalWrites`, a write that changes nothing
  // publishes nothing and returns the version of the record that stands. `neededEntry` may be null.
  Asic::LogVersion entryIs(LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
                           NeededPtr const& neededEntry, Asic::UnitId unitId,
                           Pivot::Ptr<Asic::SwTableStats> const& stats, bool suppressIdenticalWrites);
  // Marks the record of `key`; 0 when there is none, and nothing is published.
  Asic::LogVersion entryDel(Key const& key, NeededPtr const& neededEntry, Asic::UnitId unitId);
  // Marks every live record of the unit under one version; published also when none is live.
  Asic::LogVersion tableDel(NeededPtr const& neededEntry, Asic::UnitId unitId);

  // Removes the log records up to `tableVersion`, which the hardware has taken, and with each removal among
  // them the configuration records that it marked (EntryLogCleanup.cpp).
  void cleanupEntryLog(Asic::LogVersion tableVersion) override;

  // Reads. An absent key gives the default value, 0 or false.
  // Whether somebody wants to see each of them.
  bool tracesReads() const { return trace_.enabled(8); }
  // The default also for a key whose removal waits for clean-up.
  LogEntry entry(Key const& key, Asic::UnitId unitId) const;
  // False also for a key whose removal waits for clean-up.
  bool entryHas(Key const& key, Asic::UnitId unitId) const;
  // The same for who counts many keys: what the record holds is not verified, as entrys() does not either.
  bool entryCounts(Key const& key, Asic::UnitId unitId) const;
  // Looks through a removal that waits for clean-up.
  ResourceKeys entryRsrcKeys(Key const& key, Asic::UnitId unitId) const;
  // Looks through a removal that waits for clean-up.
  Asic::LogVersion entryLogVersion(Key const& key, Asic::UnitId unitId) const;
  // Records that are not marked. Costs no pass over the unit, unless it has lost records since the last one.
  std::uint32_t entrys(Asic::UnitId unitId) const;
  // Records whose removal waits for clean-up, at the same cost.
  std::uint32_t entrysInDeletion(Asic::UnitId unitId) const;

  // Room, asked before anything is published. The log keeps some for an operation of each unit
  // that was found ready, and for a clear of each: only these get the last of it.
  // Reserves space for an operation of the unit: log record, configuration record and row of needed versions.
  // Refused while there is none; `newKey`, if given, is a key about to be written, which a unit that marked
  // records keep full cannot take before a clean-up.
  Pivot::Status reserveRoom(Asic::UnitId unitId, Key const* newKey = nullptr);
  // Whether an entry that stands may be published once more, and whether a unit may be cleared.
  Pivot::Status updateRoom() const { return logRoom(recordsOf(Asker::update)); }
  Pivot::Status clearRoom() const { return logRoom(recordsOf(Asker::clear)); }
  // Whether the log has as many records as operations of clients may bring it to.
  bool isFull() const;
  // What refused room when the unit last asked for it; null when it got room. Asks for nothing.
  Pivot::String const* roomRefusal(Asic::UnitId unitId) const;
  // False when the key is new and the unit holds as many live records as it may.
  bool unitHasRoomForKey(Asic::UnitId unitId, Key const& key) const;

  // Whether the unit is still to be published anew after a loss, for want of room.
  bool repairStands(Asic::UnitId unitId) const;

 protected:
  // The three messages of an entry log, registered when the library is loaded.
  struct Messages {
    Vex::LogHandle error;
    Vex::LogHandle relaunchError;
    Vex::LogHandle exception;
    Messages();
  };
  // What an instance calls its things; lives as long as the library.
  struct InstanceNames {
    char const* tableName;
    Pivot::String (*logPath)();
    Pivot::String (*configPathBase)();
    Pivot::String (*configPath)(Asic::UnitId);
    Pivot::String (*imagePath)();
    std::uint32_t maxLogRecords;
    std::uint32_t maxConfigRecords;
    Vex::TraceHandle const& trace;
    Messages const& messages;
  };

  EntryLogCore(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
               Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName,
               InstanceNames const& names);
  ~EntryLogCore() override;

  Pivot::Ptr<ConfigShoal> mountConfig(Asic::UnitId unitId);
  // The unit has a table from now on: its configuration is published anew if it does not agree with the log, then
  // marked records go that the hardware has taken (`taken`; 0: none is known).
  void openUnit(Asic::UnitId unitId, Asic::LogVersion taken);
  // Whether reads and writes may name the unit.
  void unitMountedIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config);

 private:
  template <class Class>
  friend struct RecordOf;

  enum class Asker { operation, update, clear };
  // How far others remember the log to go.
  struct Evidence {
    std::uint64_t announced = 0;
    std::uint64_t reported = 0;
    std::uint64_t applied = 0;  // to the image, or begun to be
    std::uint64_t needed = 0;   // by records of other tables
    std::uint64_t carried = 0;  // by records of the configurations
    std::uint64_t highest() const { return std::max({announced, reported, applied, needed, carried}); }
  };
  // The last record that the log has of each unit, at its opening.
  using LastRecords = std::map<Asic::UnitId, LogRecord>;
  // What a pass over a configuration finds.
  struct Seen {
    std::uint64_t lossEpoch = 0;
    std::unordered_set<std::uint32_t> marked;  // the keys whose records are marked
    Asic::LogVersion highest;                  // of all records, at the pass
  };
  // A unit whose configuration the store has, with a table or without.
  struct Unit {
    Asic::UnitId id = 0;
    Pivot::Ptr<ConfigShoal> config;
    bool isMounted = false;  // it has a table
    bool isToldOf =
        false;  // its configuration was made only after log or image had told of the unit: it is not new
    bool missedCleanUps = false;  // it could not be mounted when the log was opened
    // It was mounted while less was reported than is cleaned from the log: the report was lost. Its marked records
    // have no log record any more, and go with the next report.
    bool isLate = false;
    // It is to be published anew as soon as there is room, and before anything else of it is published: what an
    // operation found to stand already would be told as done, over something else in the hardware.
    bool repairStands = false;
    // Why room was refused when the unit last asked for it; none once it got it.
    std::optional<Pivot::String> refusal;
    // The keys whose records are marked: equal, at any moment between operations, to what a pass over the unit
    // finds, as long as the configuration has the loss epoch that it had at that pass. With it, neither the number
    // of live entries nor the question whether a full unit is full of them costs a pass.
    mutable Seen seen;

    // A pass over the unit, if what it finds is not known, or not any more.
    Seen const& lookThrough() const;
    std::unordered_set<std::uint32_t> const& markedKeys() const { return lookThrough().marked; }
    void markKey(Key const& key) { seen.marked.insert(key.value()); }
    void unmarkKey(Key const& key);
    bool isFull() const { return entries().size() >= entries().maximum(); }

    Shoal::ShoalMap<ConfigRecord, Key>& entries() const { return config->swTableEntries(); }
    VexShoal::CollectionControl& control() const { return config->collectionControl(); }
  };

  // Opening (EntryLogMount.cpp, EntryLogOpening.cpp).
  void mountConfigs();
  Unit* configStore(Asic::UnitId unitId);
  Unit& storedIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config);
  void tellLogLoss();
  void tellConfigLoss(Asic::UnitId unitId);
  Evidence evidenceOf() const;
  void giveUpOldLog(Evidence& evidence);
  void unitsDisagree();
  LastRecords lastRecords();
  std::set<Asic::UnitId> unitsToldOf(LastRecords const& last, bool listIsWhole);
  Asic::LogVersion takeUpVersion(bool lost, Evidence const& evidence);
  void announce();
  void lookAtConfigs(LastRecords const& last);
  bool isOld(Unit const& unit, LastRecords const& last);
  static bool holds(Unit const& unit, LogRecord const& record);
  bool agrees(Unit const& unit) const;
  void agreesIs(Unit& unit);

  // A standing intent, losses and repairs (EntryLogRecovery.cpp).
  bool intentStands() const;
  // What the intent was, unless another build has noted it in a way that this one does not know.
  std::optional<EntryLogIntent> standingIntent() const;
  void takeUpIntent();
  void settleIntent(EntryLogIntent const& intent, Unit& unit);
  void giveUpIntent();
  static NeededPtr neededOf(EntryLogIntent const& intent);
  static bool carries(Unit const& unit, EntryLogIntent const& intent);
  void finishIntent(EntryLogIntent const& intent, Unit& unit, bool logged);
  void dropNeedsWithoutRecord();
  void redoRepairs();
  void redoRepair(Unit& unit);
  bool repairUnit(Unit& unit);
  void dropMarkedTaken(Unit& unit, Asic::LogVersion taken);

  // The steps of a publication.
  Asic::LogVersion beginPublication(IntentKind kind, Asic::UnitId unitId, Key const& key,
                                    NeededPtr const& needed);
  void configRecordIs(Unit& unit, LogEntry const& entry, ResourceKeys const& keys, Asic::LogVersion version,
                      bool isDeleted);
  static LogRecord logRecord(Asic::LogVersion version, LogEntry const& entry, Asic::UnitId unitId,
                             std::uint8_t logFlags);
  void logRecordIs(LogRecord const& record);
  void endPublication(Asic::LogVersion version, NeededPtr const& needed);
  void intentIs(IntentKind kind, Asic::LogVersion version, Asic::UnitId unitId, Key const& key,
                NeededPtr const& needed);

  std::optional<Asic::LogVersion> standingIdentical(Unit const& unit, LogEntry const& tableEntry,
                                                    ResourceKeys const& rsrcKeys,
                                                    Pivot::Ptr<Asic::SwTableStats> const& stats) const;
  void publishWrite(Unit& unit, LogEntry const& entry, ResourceKeys const& keys, NeededPtr const& needed,
                    Asic::LogVersion version);
  void markLiveRecords(Unit& unit, Asic::LogVersion version);

  // Clean-up.
  void noteCleaned(Asic::LogVersion upTo);
  void cleanLogRecord(Asic::LogVersion version);
  void cleanLogRecord(LogRecord const& inLog);
  void dropRemovedBy(LogRecord const& record);

  // Room.
  std::uint32_t recordsOf(Asker asker) const;
  Pivot::Status logRoom(std::uint32_t records) const;
  Pivot::Status keyRoom(Unit const& unit, Key const& key) const;
  Pivot::Status takeRoom(Unit const& unit, Key const* newKey) const;
  bool isRefused(Pivot::Status const& room, char const* what, Asic::UnitId unitId, Key const& key) const;

  // The unit, which must be mounted.
  Unit& unit(Asic::UnitId unitId);
  Unit const& unit(Asic::UnitId unitId) const { return const_cast<EntryLogCore*>(this)->unit(unitId); }
  // The unit if it is mounted, or null.
  Unit* mountedUnit(Asic::UnitId unitId);
  auto& log() const { return tableEntryLog_->entryLogConfig(); }
  auto& logControl() const { return tableEntryLog_->collectionControl(); }

  InstanceNames const& names_;
  Vex::TraceHandle const& trace_;
  Pivot::Ptr<LogShoal> tableEntryLog_;
  std::map<Asic::UnitId, Unit> units_;
  std::vector<Pivot::String> losses_;

  class Redo final : public Asic::GroupResolver::Retry {
   public:
    explicit Redo(EntryLogCore& log) : log_(log) {}
    void retry() override { log_.redoRepairs(); }

   private:
    EntryLogCore& log_;
  };
  Redo redo_{*this};
};

}  // namespace LoamInLif
