#pragma once
// The logic of the entry log, for all instances: how a publication runs, how records are cleaned away, and
// what a new run does with what a dead one left. EntryLogOf<I> owns one and hands it the configuration that
// an operation concerns; the traces go out under the instance's facility.
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
// Whoever publishes asks for room before (EntryLogRoom.cpp); what finds none waits, or is set aside, where it comes
// from. Only the repair of a unit waits here.
#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Asic/EntryLogBase.h"
#include "Asic/GroupInterface.h"
#include "Asic/GroupResolver.h"
#include "Asic/LogVersion.h"
#include "Asic/NeededEntry.h"
#include "Asic/SwTableStats.h"
#include "Asic/UnitId.h"
#include "LoamInLif/log/EntryLogIntent.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Vex/Trace.h"

namespace LoamInLif {

class EntryLogCore {
 public:
  using LogShoal = LoamTunnelNiLib::InLifModelEntryLogShoal;
  using ConfigShoal = LoamTunnelNiLib::InLifModelConfigShoal;
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using ConfigRecord = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  using LogEntry = LoamTunnelNiLib::InLifModelLogEntry;
  using ResourceKeys = LoamTunnelNiLib::InLifModelResourceKeys;
  using NeededPtr = Pivot::Ptr<Asic::NeededEntry const>;
  /// The mounted configuration of a unit, or null.
  using ConfigOf = ConfigShoal* (*)(Asic::EntryLogBase const&, Asic::UnitId);

  /// `log` owns this object; `trace` lives as long as the library.
  EntryLogCore(Asic::EntryLogBase& log, Vex::TraceHandle const& trace, ConfigOf configOf)
      : log_(log), trace_(trace), configOf_(configOf) {}
  /// REQUIRES: log and configurations are mounted still.
  ~EntryLogCore();
  EntryLogCore(EntryLogCore const&) = delete;
  EntryLogCore& operator=(EntryLogCore const&) = delete;

  // Opening, in this order (EntryLogOpening.cpp and EntryLogRecovery.cpp).
  /// A configuration that is mounted in the store, also of a unit without a table: every one of the table, before
  /// the log is looked at, and each that is made later.
  void configIs(ConfigShoal& config, Asic::UnitId unitId);
  void shoalIs(LogShoal& shoal);
  /// Gives the log up, so that it is a lost one, if it came back older or from another boot. `imagePath`: the image
  /// of the hardware, a collection of the writer's, which need not exist.
  void oldLogGiveUp(Pivot::String const& imagePath);
  /// The log was lost, whole or in part: what the lost records had told only the configurations know.
  void unitsDisagree();
  /// Whether the dead run died in a publication; and what that was, unless another build has noted it in a way
  /// that this one does not know.
  bool intentStands() const;
  std::optional<EntryLogIntent> standingIntent() const;
  /// Finishes or drops a standing intent; `config` is the configuration of its unit. Each step may be
  /// repeated.
  void intentSettle(EntryLogIntent const& intent, ConfigShoal& config);
  /// Gives up a note that cannot be read, and has every unit published anew, since any of them may hold half of the
  /// publication.
  void intentGiveUp();
  /// Units that are known and have no configuration: by the records of the log, and by the image if the log is new or
  /// the store's list of collections was lost. Each gets one, by toldOfIs().
  std::set<Asic::UnitId> unitsToldOf(Pivot::String const& imagePath, bool listIsWhole);
  void toldOfIs(ConfigShoal& config, Asic::UnitId unitId);
  /// The version from which this run counts on: the scratchpad. After a loss of the whole log one above anything
  /// that this table is known to have issued.
  Asic::LogVersion versionTakeUp(bool lost);
  /// Tells the group tableVersion once, which heals a group that has lost it.
  void announce();
  /// Marks the configurations that came back older, or from another boot.
  void configsLook();
  /// A unit was mounted: publishes it anew if it does not agree with the log, then drops marked records that
  /// the hardware has taken (`taken`; 0: none is known).
  void unitOpen(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion taken);

  // Publishing (EntryLogCore.cpp).
  Asic::LogVersion entryIs(ConfigShoal& config, LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
                           NeededPtr const& neededEntry, Asic::UnitId unitId,
                           Pivot::Ptr<Asic::SwTableStats> const& stats, bool suppressIdenticalWrites);
  Asic::LogVersion entryDel(ConfigShoal& config, Key const& key, NeededPtr const& neededEntry,
                            Asic::UnitId unitId);
  Asic::LogVersion tableDel(ConfigShoal& config, NeededPtr const& neededEntry, Asic::UnitId unitId);

  /// Clean-up (EntryLogCleanup.cpp).
  void cleanup(Asic::LogVersion upTo);

  /// What a look for damage has cost: log records, and entries of these units.
  struct Lost {
    bool log = false;
    std::vector<Asic::UnitId> units;
  };
  /// Drops what can't be read, and publishes the mounted units anew that do not agree with the log then.
  Lost mend();

  // Reads (EntryLogReads.cpp).
  static LogEntry entry(ConfigShoal& config, Key const& key);
  static bool entryHas(ConfigShoal& config, Key const& key);
  bool entryCounts(ConfigShoal& config, Key const& key, Asic::UnitId unitId) const;
  static ResourceKeys entryRsrcKeys(ConfigShoal& config, Key const& key);
  static Asic::LogVersion entryLogVersion(ConfigShoal& config, Key const& key);
  std::uint32_t entrysInDeletion(ConfigShoal& config, Asic::UnitId unitId) const;

  // Room (EntryLogRoom.cpp). `newKey` may be null.
  Pivot::Status roomReserve(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey);
  Pivot::Status updateRoom() const { return logRoom(recordsOf(Asker::update)); }
  Pivot::Status clearRoom() const { return logRoom(recordsOf(Asker::clear)); }
  Pivot::String const* roomRefusal(Asic::UnitId unitId) const;
  bool unitHasRoomForKey(ConfigShoal& config, Asic::UnitId unitId, Key const& key) const;

  // A repair that found no room (EntryLogRecovery.cpp).
  bool repairStands(Asic::UnitId unitId) const { return repairs_.contains(unitId); }

 private:
  enum class Asker { operation, update, clear };
  /// How far others remember the log to go.
  struct Evidence {
    std::uint64_t announced = 0;
    std::uint64_t reported = 0;
    std::uint64_t applied = 0;  // to the image, or begun to be
    std::uint64_t needed = 0;   // by records of other tables
    std::uint64_t carried = 0;  // by records of the configurations
    std::uint64_t highest() const { return std::max({announced, reported, applied, needed, carried}); }
  };
  /// A configuration of the table in the store.
  struct Stored {
    ConfigShoal* config = nullptr;
    bool isToldOf = false;  // it was made only after log or image had told of the unit, and is not new
  };
  /// What a pass over a configuration finds.
  struct Seen {
    std::uint64_t lossEpoch = 0;
    std::unordered_set<std::uint32_t> marked;  // the keys whose records are marked
    Asic::LogVersion highest;                  // of all records, at the pass
  };

  // The steps of a publication.
  Asic::LogVersion publicationBegin(IntentKind kind, Asic::UnitId unitId, Key const& key,
                                    NeededPtr const& needed);
  void configRecordIs(ConfigShoal& config, LogEntry const& entry, ResourceKeys const& keys,
                      Asic::LogVersion version, bool isDeleted);
  static LogRecord logRecord(Asic::LogVersion version, LogEntry const& entry, Asic::UnitId unitId,
                             std::uint8_t logFlags);
  void logRecordIs(LogRecord const& record);
  void publicationEnd(Asic::LogVersion version, NeededPtr const& needed);
  void intentIs(IntentKind kind, Asic::LogVersion version, Asic::UnitId unitId, Key const& key,
                NeededPtr const& needed);

  std::optional<Asic::LogVersion> standingIdentical(ConfigShoal& config, LogEntry const& tableEntry,
                                                    ResourceKeys const& rsrcKeys,
                                                    Pivot::Ptr<Asic::SwTableStats> const& stats) const;
  void writePublish(ConfigShoal& config, LogEntry const& entry, ResourceKeys const& keys,
                    NeededPtr const& needed, Asic::UnitId unitId, Asic::LogVersion version);
  void liveRecordsMark(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion version);
  static NeededPtr neededOf(EntryLogIntent const& intent);
  static bool carries(ConfigShoal& config, EntryLogIntent const& intent);
  void intentFinish(EntryLogIntent const& intent, ConfigShoal& config, bool logged);

  Evidence evidenceOf(Pivot::String const& imagePath) const;
  bool isOld(ConfigShoal& config, Asic::UnitId unitId);
  static bool holds(ConfigShoal& config, LogRecord const& record);
  bool agrees(ConfigShoal& config) const;
  void agreesIs(ConfigShoal& config);
  void cleanedNote(Asic::LogVersion upTo);

  void repairsRedo();
  void repairRedo(ConfigShoal& config, Asic::UnitId unitId);
  bool unitRepair(ConfigShoal& config, Asic::UnitId unitId);
  void markedTakenDrop(ConfigShoal& config, Asic::UnitId unitId, Asic::LogVersion taken);

  void logRecordClean(Asic::LogVersion version);
  void logRecordClean(LogRecord const& inLog);
  void recordStep(LogRecord const& record);

  static bool isFull(ConfigShoal& config);
  std::uint32_t recordsOf(Asker asker) const;
  Pivot::Status logRoom(std::uint32_t records) const;
  Pivot::Status keyRoom(ConfigShoal& config, Key const& key) const;
  Pivot::Status roomTake(ConfigShoal& config, Asic::UnitId unitId, Key const* newKey) const;
  bool isRefused(Pivot::Status const& room, char const* what, Asic::UnitId unitId, Key const& key) const;

  /// A pass over the unit, if what it finds is not known, or not any more.
  Seen const& lookThrough(ConfigShoal& config, Asic::UnitId unitId) const;
  std::unordered_set<std::uint32_t> const& markedKeys(ConfigShoal& config, Asic::UnitId unitId) const {
    return lookThrough(config, unitId).marked;
  }
  void keyMarked(Asic::UnitId unitId, Key const& key);
  void keyUnmarked(Asic::UnitId unitId, Key const& key);

  Asic::EntryLogBase& log_;
  Vex::TraceHandle const& trace_;
  ConfigOf const configOf_;
  LogShoal* shoal_ = nullptr;

  /// The keys of a unit whose records are marked: equal, at any moment between operations, to what a pass over
  /// the unit finds, as long as the configuration has the loss epoch that it had at that pass. With it, neither
  /// the number of live entries nor the question whether a full unit is full of them costs a pass.
  mutable std::unordered_map<Asic::UnitId, Seen> seen_;

  std::map<Asic::UnitId, Stored> stored_;
  Evidence evidence_;                       // of the opening
  std::map<Asic::UnitId, LogRecord> last_;  // of each unit, while the log is opened
  /// Units that were mounted while less was reported than is cleaned from the log: the report was lost. Their marked
  /// records have no log record any more, and go with the next report.
  std::set<Asic::UnitId> late_;

  /// Why room was refused when a unit last asked for it; a unit that got it has none.
  std::map<Asic::UnitId, Pivot::String> roomRefusals_;

  class Redo final : public Asic::GroupResolver::Retry {
   public:
    explicit Redo(EntryLogCore& log) : log_(log) {}
    void retry() override { log_.repairsRedo(); }

   private:
    EntryLogCore& log_;
  };
  /// Units that are to be published anew as soon as there is room, and before anything else of them is published: what
  /// an operation found to stand already would be told as done, over something else in the hardware.
  std::set<Asic::UnitId> repairs_;
  Redo redo_{*this};
};

}  // namespace LoamInLif
