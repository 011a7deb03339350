#pragma once
// The bodies of EntryLogOf<I>. Included by the one source file per instance that instantiates it.
#include <algorithm>

#include "LoamInLif/log/EntryLogMount.h"
#include "LoamInLif/log/EntryLogOf.h"
#include "Shoal/EntityManager.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"

namespace LoamInLif {

// --- construction ---

template <class I>
EntryLogOf<I>::EntryLogOf(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
                          Pivot::Ptr<Asic::GroupInterface> const& groupInterface,
                          Pivot::String const& agentName)
    : Asic::EntryLogBase(tableId, entityManager, groupInterface, agentName), core_(*this, trace_, &configOf) {
  handleInitialized();
}

template <class I>
EntryLogOf<I>::~EntryLogOf() {
  tableConfigShoalDelAll();
}

template <class I>
void EntryLogOf<I>::handleInitialized() {
  VEX_TRACE(trace_, 8, "");
  mountShoalChangeLog();
}

// --- the mounted configurations ---

template <class I>
Pivot::Ptr<typename EntryLogOf<I>::ConfigShoal> EntryLogOf<I>::tableConfigShoal(Asic::UnitId unitId) const {
  return tableConfigShoal_.get(unitId);
}

template <class I>
void EntryLogOf<I>::tableConfigShoalIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config) {
  if (config) {
    tableConfigShoal_.set(unitId, config);
  } else {
    tableConfigShoal_.erase(unitId);
  }
}

template <class I>
Pivot::Ptr<typename EntryLogOf<I>::ConfigShoal> EntryLogOf<I>::tableConfigShoalDel(Asic::UnitId unitId) {
  return tableConfigShoal_.take(unitId).value_or(nullptr);
}

template <class I>
typename EntryLogOf<I>::ConfigShoal* EntryLogOf<I>::configOf(Asic::EntryLogBase const& log,
                                                             Asic::UnitId unitId) {
  auto const* config = static_cast<EntryLogOf const&>(log).tableConfigShoal_.find(unitId);
  return config == nullptr ? nullptr : config->get();
}

/// The configuration of a unit that must be mounted.
template <class I>
typename EntryLogOf<I>::ConfigShoal& EntryLogOf<I>::config(Asic::UnitId unitId) const {
  auto const* mounted = tableConfigShoal_.find(unitId);
  VEX_ASSERT_MSG(mounted != nullptr, "tableConfigShoalHas( unitId )",
                 "Config shoal for unitId:{} is not created yet!", unitId);
  return **mounted;
}

// --- mounting ---

template <class I>
void EntryLogOf<I>::mountShoalChangeLog() {
  VEX_TRACE(trace_, 8, "");
  Pivot::String const path = I::Constants::tableEntryLogShoalPath();
  bool lost = false;
  configsMount();
  tableEntryLog_ = checkAndwriteMountShoal<LogShoal>(
      entityManager(), "LoamTunnelNiLib::InLifModelEntryLogShoal", path, agentName(),
      [](VexShoal::MountInfo& info) {
        info.collectionInfoIs("entryLogConfig", static_cast<std::uint32_t>(I::maxLogRecords), 0);
      },
      [&](Pivot::Ptr<LogShoal> const& log) -> VexShoal::CollectionControl& {
        core_.shoalIs(*log);
        // One that is whole and came back older becomes a lost one here.
        core_.oldLogGiveUp(I::Constants::imageShoalPath());
        return log->collectionControl();
      },
      [&] {
        lost = true;
        logLossTell();
        // Before the mark of the loss is cleared, so that a death in between repeats it.
        core_.unitsDisagree();
      });
  VEX_ASSERT(tableEntryLog_, "tableEntryLog");
  if (auto const intent = core_.standingIntent()) {
    // Opened for the settling alone: the unit is not mounted by it.
    auto const unitConfig = mountConfig(intent->unitId);
    VEX_ASSERT(unitConfig, "cfgShoal");
    core_.intentSettle(*intent, *unitConfig);
  } else if (core_.intentStands()) {
    core_.intentGiveUp();
  }
  // Before the log has a version: a death in between finds it as new as now.
  using VexSharedMem::StoreRoot;
  for (Asic::UnitId const unitId :
       core_.unitsToldOf(I::Constants::imageShoalPath(), StoreRoot::listIsWhole(StoreRoot::Role::agent))) {
    if (auto const unitConfig = configStore(unitId)) core_.toldOfIs(*unitConfig, unitId);
  }
  tableVersionIs(core_.versionTakeUp(lost));
  VEX_TRACE(trace_, 2, " Mounted entryLog: {}, tableVersion: {}", path, tableVersion());
  core_.announce();
  core_.configsLook();
}

/// Every configuration of the table is mounted in the store while the log is open, with a table of its unit or without:
/// a clean-up is noted in all of them. One that cannot be mounted now is passed over; it misses what is noted, and
/// counts as older if it is mounted later.
template <class I>
void EntryLogOf<I>::configsMount() {
  auto const found = sharedStore(*entityManager())->findEntities(I::Constants::configShoalPathBase());
  for (auto const& [path, count] : found->count()) {
    auto const unitId = unitOf(path);
    if (!unitId) continue;
    if (auto const unitConfig = configStore(*unitId)) core_.configIs(*unitConfig, *unitId);
  }
}

template <class I>
std::optional<Asic::UnitId> EntryLogOf<I>::unitOf(Pivot::String const& configPath) const {
  auto const unitId = Asic::Constants::unitOfConfigPath(configPath);
  if (unitId && configPath == I::Constants::configShoalPath(*unitId)) return unitId;
  VEX_TRACE(trace_, 1, " {} is the configuration of no unit: nobody reads it", configPath);
  return std::nullopt;
}

/// Mounts the configuration of a unit in the store. Null when it cannot be mounted now, which the store has told.
template <class I>
Pivot::Ptr<typename EntryLogOf<I>::ConfigShoal> EntryLogOf<I>::configStore(Asic::UnitId unitId) {
  static_cast<void>(configMountable(unitId));
  auto const stored = boost::dynamic_pointer_cast<ConfigShoal>(
      sharedStore(*entityManager())->getEntity(I::Constants::configShoalPath(unitId)));
  if (stored) storedConfig_[unitId] = stored;
  return stored;
}

template <class I>
void EntryLogOf<I>::logLossTell() {
  messages_.error.log(fmt::format("{}::{}", "entryLog", I::tableName));
  losses_.emplace_back("change log");
}

template <class I>
void EntryLogOf<I>::configLossTell(Asic::UnitId unitId) {
  messages_.error.log(fmt::format("{}::{}", "entryCfg", I::tableName));
  losses_.push_back(fmt::format("unit {}", unitId));
}

template <class I>
void EntryLogOf<I>::mend() {
  EntryLogCore::Lost const lost = core_.mend();
  if (lost.log) {
    logLossTell();
    relaunchAsk(*entityManager(), agentName());
    tableEntryLog_->collectionControl().clearWiped();
  }
  // The mark of a unit without a table is seen when the unit is mounted.
  for (Asic::UnitId const unitId : lost.units) {
    auto const unitConfig = tableConfigShoal(unitId);
    if (!unitConfig) continue;
    configLossTell(unitId);
    relaunchAsk(*entityManager(), agentName());
    unitConfig->collectionControl().clearWiped();
  }
}

template <class I>
void EntryLogOf<I>::declareConfig(VexShoal::MountInfo& info) {
  info.collectionInfoIs("swTableEntries", static_cast<std::uint32_t>(I::maxConfigRecords), 0);
}

/// What is mounted here stays so: mountConfig finds it.
template <class I>
Pivot::Status EntryLogOf<I>::configMountable(Asic::UnitId unitId) {
  auto const mountGroup = sharedStore(*entityManager())->getMountGroup();
  VexShoal::MountInfo mountInfo(0);
  declareConfig(mountInfo);
  Pivot::Status status = mountGroup->mount(I::Constants::configShoalPath(unitId), kConfigTypeName, mountInfo);
  mountGroup->doClose();
  return status;
}

template <class I>
Pivot::Ptr<typename EntryLogOf<I>::ConfigShoal> EntryLogOf<I>::mountConfig(Asic::UnitId unitId) {
  return checkAndwriteMountShoal<ConfigShoal>(
      entityManager(), kConfigTypeName, I::Constants::configShoalPath(unitId), agentName(), declareConfig,
      [](Pivot::Ptr<ConfigShoal> const& mounted) -> VexShoal::CollectionControl& {
        return mounted->collectionControl();
      },
      [&] { configLossTell(unitId); });
}

template <class I>
void EntryLogOf<I>::mountShoalConfig(Asic::UnitId unitId, Asic::LogVersion tableVersion) {
  VEX_TRACE(trace_, 8, " unitId:{}, logVersion: {}", unitId, tableVersion);
  auto const cfgShoal = mountConfig(unitId);
  VEX_ASSERT(cfgShoal, "cfgShoal");
  tableConfigShoalIs(unitId, cfgShoal);
  storedConfig_[unitId] = cfgShoal;
  VEX_TRACE(trace_, 2, " Mounted config for unitId: {} at {}", unitId, I::Constants::configShoalPath(unitId));
  core_.unitOpen(*cfgShoal, unitId, tableVersion);
}

// --- publishing and clean-up ---

template <class I>
Asic::LogVersion EntryLogOf<I>::entryIs(LogEntry const& tableEntry, ResourceKeys const& rsrcKeys,
                                        NeededPtr const& neededEntry, Asic::UnitId unitId,
                                        Pivot::Ptr<Asic::SwTableStats> const& stats,
                                        bool suppressIdenticalWrites) {
  return core_.entryIs(config(unitId), tableEntry, rsrcKeys, neededEntry, unitId, stats,
                       suppressIdenticalWrites);
}

template <class I>
Asic::LogVersion EntryLogOf<I>::entryDel(Key const& key, NeededPtr const& neededEntry, Asic::UnitId unitId) {
  return core_.entryDel(config(unitId), key, neededEntry, unitId);
}

template <class I>
Asic::LogVersion EntryLogOf<I>::tableDel(NeededPtr const& neededEntry, Asic::UnitId unitId) {
  return core_.tableDel(config(unitId), neededEntry, unitId);
}

template <class I>
void EntryLogOf<I>::cleanupEntryLog(Asic::LogVersion tableVersion) {
  core_.cleanup(tableVersion);
}

// --- reads ---

template <class I>
typename EntryLogOf<I>::LogEntry EntryLogOf<I>::entry(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return EntryLogCore::entry(config(unitId), key);
}

template <class I>
bool EntryLogOf<I>::entryHas(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return EntryLogCore::entryHas(config(unitId), key);
}

template <class I>
bool EntryLogOf<I>::entryCounts(Key const& key, Asic::UnitId unitId) const {
  // The pass shows up in the trace.
  if (trace_.enabled(8)) return entryHas(key, unitId);
  return core_.entryCounts(config(unitId), key, unitId);
}

template <class I>
typename EntryLogOf<I>::ResourceKeys EntryLogOf<I>::entryRsrcKeys(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return EntryLogCore::entryRsrcKeys(config(unitId), key);
}

template <class I>
Asic::LogVersion EntryLogOf<I>::entryLogVersion(Key const& key, Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " key: {} unitId:{}", key, unitId);
  return EntryLogCore::entryLogVersion(config(unitId), key);
}

template <class I>
std::uint32_t EntryLogOf<I>::entrys(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  // Both counts are looked up on their own, so the pass shows up in the trace as it would for a caller.
  return config(unitId).swTableEntries().size() - entrysInDeletion(unitId);
}

template <class I>
std::uint32_t EntryLogOf<I>::entrysInDeletion(Asic::UnitId unitId) const {
  VEX_TRACE(trace_, 8, " unitId:{}", unitId);
  return core_.entrysInDeletion(config(unitId), unitId);
}

// --- room ---

template <class I>
Pivot::Status EntryLogOf<I>::roomReserve(Asic::UnitId unitId, Key const* newKey) {
  return core_.roomReserve(config(unitId), unitId, newKey);
}

template <class I>
bool EntryLogOf<I>::isFull() const {
  return tableEntryLog_->entryLogConfig().size() >= I::maxLogRecords;
}

template <class I>
Pivot::String const* EntryLogOf<I>::roomRefusal(Asic::UnitId unitId) const {
  return core_.roomRefusal(unitId);
}

template <class I>
bool EntryLogOf<I>::unitHasRoomForKey(Asic::UnitId unitId, Key const& key) const {
  return core_.unitHasRoomForKey(config(unitId), unitId, key);
}

// --- what the instance carries when the library is loaded ---

template <class I>
EntryLogOf<I>::Messages::Messages()
    : error("HW_ABSTRACTION_ERROR", "Hardware abstraction error: unable to load item: %s",
            "Hardware abstraction error: unable to load some persistent items. Some agents will be restarted",
            3, "\x01", 0, 1.0, 0, 0),
      relaunchError("HW_ABSTRACTION_RELAUNCH_ERROR", "%s",
                    "Duplicate Writer Detected, shoal path not cleaned up", 3, "\x01", 0, 1.0, 0, 0),
      exception("HW_ABSTRACTION_EXCEPTION", "%s", "Exception", 3, "\x01", 0, 1.0, 0, 0) {}

template <class I>
Vex::TraceHandle EntryLogOf<I>::trace_(I::entryLogFacility);

template <class I>
typename EntryLogOf<I>::Messages EntryLogOf<I>::messages_;

}  // namespace LoamInLif
