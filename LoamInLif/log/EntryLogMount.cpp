// Mounting: how the change log and the configurations come from the store, what is told when one of them lost
// earlier contents, and the order in which a run takes up what an earlier one left.
#include <fmt/format.h>

#include "Asic/Constants.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "LoamInLif/log/EntryLogMount.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"

namespace LoamInLif {
namespace {

constexpr char const* kConfigTypeName = "LoamTunnelNiLib::InLifModelConfigShoal";

}  // namespace

EntryLogCore::Messages::Messages()
    : error("HW_ABSTRACTION_ERROR", "Hardware abstraction error: unable to load item: %s",
            "Hardware abstraction error: unable to load some persistent items. Some agents will be restarted",
            3, "\x01", 0, 1.0, 0, 0),
      relaunchError("HW_ABSTRACTION_RELAUNCH_ERROR", "%s",
                    "Duplicate Writer Detected, shoal path not cleaned up", 3, "\x01", 0, 1.0, 0, 0),
      exception("HW_ABSTRACTION_EXCEPTION", "%s", "Exception", 3, "\x01", 0, 1.0, 0, 0) {}

EntryLogCore::EntryLogCore(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
                           Pivot::Ptr<Asic::GroupInterface> const& groupInterface,
                           Pivot::String const& agentName, InstanceNames const& names)
    : Asic::EntryLogBase(tableId, entityManager, groupInterface, agentName),
      names_(names),
      trace_(names.trace) {}

EntryLogCore::~EntryLogCore() {
  for (auto const& [unitId, unit] : units_) unit.entries().damageCounterIs(nullptr);
  if (tableEntryLog_) log().damageCounterIs(nullptr);
}

void EntryLogCore::handleInitialized() {
  VEX_TRACE(trace_, 8, "");
  mountShoalChangeLog();
}

void EntryLogCore::mountShoalChangeLog() {
  VEX_TRACE(trace_, 8, "");
  Pivot::String const path = names_.logPath();
  bool lost = false;
  Evidence evidence;
  mountConfigs();
  tableEntryLog_ = checkAndwriteMountShoal<LogShoal>(
      entityManager(), "LoamTunnelNiLib::InLifModelEntryLogShoal", path, agentName(),
      [&](VexShoal::MountInfo& info) { info.collectionInfoIs("entryLogConfig", names_.maxLogRecords, 0); },
      [&](Pivot::Ptr<LogShoal> const& mounted) -> VexShoal::CollectionControl& {
        tableEntryLog_ = mounted;
        log().damageCounterIs(&groupInterface()->damageCounter());
        // One that is whole and came back older becomes a lost one here.
        giveUpOldLog(evidence);
        return logControl();
      },
      [&] {
        lost = true;
        tellLogLoss();
        // Before the mark of the loss is cleared, so that a death in between repeats it.
        unitsDisagree();
      });
  VEX_ASSERT(tableEntryLog_, "tableEntryLog");
  takeUpIntent();
  // Before the log has a version: a death in between finds it as new as now.
  LastRecords const last = lastRecords();
  using VexSharedMem::StoreRoot;
  for (Asic::UnitId const unitId : unitsToldOf(last, StoreRoot::listIsWhole(StoreRoot::Role::agent))) {
    if (Unit* const made = configStore(unitId)) made->isToldOf = true;
  }
  tableVersionIs(takeUpVersion(lost, evidence));
  VEX_TRACE(trace_, 2, " Mounted entryLog: {}, tableVersion: {}", path, tableVersion());
  announce();
  lookAtConfigs(last);
}

// Every configuration of the table is mounted in the store while the log is open, with a table of its unit or without:
// a clean-up is noted in all of them. One that cannot be mounted now is passed over; it misses what is noted, and
// counts as older if it is mounted later.
void EntryLogCore::mountConfigs() {
  auto const found = sharedStore(*entityManager())->findEntities(names_.configPathBase());
  for (auto const& [path, count] : found->count()) {
    if (auto const unitId = unitOf(path)) configStore(*unitId);
  }
}

std::optional<Asic::UnitId> EntryLogCore::unitOf(Pivot::String const& configPath) const {
  auto const unitId = Asic::Constants::unitOfConfigPath(configPath);
  if (unitId && configPath == names_.configPath(*unitId)) return unitId;
  VEX_TRACE(trace_, 1, " {} is the configuration of no unit: nobody reads it", configPath);
  return std::nullopt;
}

// Mounts the configuration of a unit in the store. Null when it cannot be mounted now, which the store has told.
EntryLogCore::Unit* EntryLogCore::configStore(Asic::UnitId unitId) {
  static_cast<void>(configMountable(unitId));
  auto const stored = boost::dynamic_pointer_cast<ConfigShoal>(
      sharedStore(*entityManager())->getEntity(names_.configPath(unitId)));
  return stored ? &storedIs(unitId, stored) : nullptr;
}

EntryLogCore::Unit& EntryLogCore::storedIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config) {
  auto const [at, isMade] = units_.try_emplace(unitId);
  Unit& unit = at->second;
  unit.id = unitId;
  unit.config = config;
  if (isMade && tableEntryLog_) unit.missedCleanUps = unit.control().watermark() < logControl().watermark();
  unit.entries().damageCounterIs(&groupInterface()->damageCounter());
  return unit;
}

// What is mounted here stays so: mountConfig finds it.
Pivot::Status EntryLogCore::configMountable(Asic::UnitId unitId) {
  auto const mountGroup = sharedStore(*entityManager())->getMountGroup();
  VexShoal::MountInfo mountInfo(0);
  mountInfo.collectionInfoIs("swTableEntries", names_.maxConfigRecords, 0);
  Pivot::Status status = mountGroup->mount(names_.configPath(unitId), kConfigTypeName, mountInfo);
  mountGroup->doClose();
  return status;
}

Pivot::Ptr<EntryLogCore::ConfigShoal> EntryLogCore::mountConfig(Asic::UnitId unitId) {
  Pivot::String const path = names_.configPath(unitId);
  auto const cfgShoal = checkAndwriteMountShoal<ConfigShoal>(
      entityManager(), kConfigTypeName, path, agentName(),
      [&](VexShoal::MountInfo& info) { info.collectionInfoIs("swTableEntries", names_.maxConfigRecords, 0); },
      [](Pivot::Ptr<ConfigShoal> const& mounted) -> VexShoal::CollectionControl& {
        return mounted->collectionControl();
      },
      [&] { tellConfigLoss(unitId); });
  VEX_ASSERT(cfgShoal, "cfgShoal");
  return cfgShoal;
}

// --- what is told of a loss ---

void EntryLogCore::tellLogLoss() {
  names_.messages.error.log(fmt::format("{}::{}", "entryLog", names_.tableName));
  losses_.emplace_back("change log");
}

void EntryLogCore::tellConfigLoss(Asic::UnitId unitId) {
  names_.messages.error.log(fmt::format("{}::{}", "entryCfg", names_.tableName));
  losses_.push_back(fmt::format("unit {}", unitId));
}

// The mark of a loss tells of all that was lost since it was cleared, here or in an operation before. That of a unit
// without a table is seen when the unit is mounted.
void EntryLogCore::mend() {
  log().mend();
  bool const logLost = logControl().wiped();
  // The hardware may not have taken what was lost.
  if (logLost) unitsDisagree();
  dropNeedsWithoutRecord();
  for (auto& [unitId, unit] : units_) {
    unit.entries().mend();
    if (unit.isMounted && !agrees(unit)) unit.repairStands = true;
  }
  redoRepairs();
  if (logLost) {
    tellLogLoss();
    askForRelaunch(*entityManager(), agentName());
    logControl().clearWiped();
  }
  for (auto const& [unitId, unit] : units_) {
    if (!unit.isMounted || !unit.control().wiped()) continue;
    tellConfigLoss(unitId);
    askForRelaunch(*entityManager(), agentName());
    unit.control().clearWiped();
  }
}

// --- the units ---

void EntryLogCore::unitMountedIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config) {
  if (config) {
    storedIs(unitId, config).isMounted = true;
  } else if (auto const at = units_.find(unitId); at != units_.end()) {
    at->second.isMounted = false;
  }
}

}  // namespace LoamInLif
