// The bodies of EntryLogOf<I>. Included where an instance is instantiated, and nowhere else.
#pragma once

#include "LoamInLif/log/EntryLogOf.h"

namespace LoamInLif {

template <class I>
EntryLogOf<I>::EntryLogOf(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
                          Pivot::Ptr<Asic::GroupInterface> const& groupInterface,
                          Pivot::String const& agentName)
    : EntryLogCore(tableId, entityManager, groupInterface, agentName, instanceNames_) {
  handleInitialized();
}

template <class I>
void EntryLogOf<I>::mountShoalConfig(Asic::UnitId unitId, Asic::LogVersion tableVersion) {
  VEX_TRACE(trace_, 8, " unitId:{}, logVersion: {}", unitId, tableVersion);
  tableConfigShoalIs(unitId, mountConfig(unitId));
  VEX_TRACE(trace_, 2, " Mounted config for unitId: {} at {}", unitId, I::Constants::configShoalPath(unitId));
  openUnit(unitId, tableVersion);
}

// --- what the instance carries when the library is loaded ---

template <class I>
Vex::TraceHandle EntryLogOf<I>::trace_(I::entryLogFacility);

template <class I>
EntryLogCore::Messages EntryLogOf<I>::messages_;

template <class I>
EntryLogCore::InstanceNames const EntryLogOf<I>::instanceNames_ = {
    I::tableName,
    &I::Constants::tableEntryLogShoalPath,
    &I::Constants::configShoalPathBase,
    &I::Constants::configShoalPath,
    &I::Constants::imageShoalPath,
    static_cast<std::uint32_t>(I::maxLogRecords),
    static_cast<std::uint32_t>(I::maxConfigRecords),
    trace_,
    messages_};

}  // namespace LoamInLif
