// Announced and needed versions, from the agent's side.
//
// Order within one publication, and what a death after each step leaves behind:
//   1. the needed row is written   a row of a version that is not announced: nobody reads it, the
//                                  repair of the log writes it again
//   2. the announced row moves     the record is complete; the intent of the log still stands and is
//                                  settled by announcing it again
// The link store that publishes row 2 is a release; the writer of the hardware reads the announced version
// with an acquire before it looks at log or needs. Otherwise it could see the new version and not yet the
// needs, and apply the record too early.
#include "Asic/GroupAnnouncement.h"

#include <algorithm>
#include <span>

#include "Asic/Constants.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/Mounted.h"
#include "Shoal/ReportedReads.h"
#include "Statehub/EntityManager.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace Asic {

class AnnouncedShoal final : public Pivot::Node {
 public:
  Shoal::ShoalMap<AnnouncedRow>& shoalMap() { return map_; }

 private:
  Shoal::ShoalMap<AnnouncedRow> map_;
};

class NeededShoal final : public Pivot::Node {
 public:
  Shoal::ShoalMap<NeededRow>& shoalMap() { return map_; }

 private:
  Shoal::ShoalMap<NeededRow> map_;
};

namespace {

Vex::TraceHandle traceHandle("GroupInterface");

using VexSharedMem::EntityManager;

Pivot::Ptr<AnnouncedShoal> mountAnnounced(EntityManager& manager, Pivot::String const& group,
                                          Pivot::Status& status) {
  return VexSharedMem::mounted<AnnouncedShoal>(manager, Constants::canonicalGroupAnnouncedShoalPath(group),
                                               "Asic::AnnouncedShoal", "announced",
                                               static_cast<std::uint32_t>(kMaxTablesOfGroup), status);
}

Pivot::Ptr<NeededShoal> mountNeeded(EntityManager& manager, Pivot::String const& group,
                                    Pivot::Status& status) {
  return VexSharedMem::mounted<NeededShoal>(manager, Constants::canonicalGroupNeededShoalPath(group),
                                            "Asic::NeededShoal", "needed", kMaxNeededRows, status);
}

// As the group takes it up.
template <class T>
Pivot::Ptr<T> taken(Pivot::Ptr<T> (*mount)(EntityManager&, Pivot::String const&, Pivot::Status&),
                    EntityManager& manager, Pivot::String const& group, std::uint64_t& damageMet) {
  Pivot::Status status = Pivot::Status::ok();
  Pivot::Ptr<T> shoal = mount(manager, group, status);
  VEX_ASSERT_MSG(status.isOk(), "the collections of the group are mounted", "{}", status.message());
  VexShoal::CollectionControl& control = shoal->shoalMap().collectionControl();
  if (control.wiped()) {
    // Each log announces its version when it is opened, and needs that were lost are not known again.
    VEX_TRACE(traceHandle, 1, "earlier contents of {} were lost", shoal->shoalMap().path());
    control.clearWiped();
  }
  // What another boot has announced still tells which versions are used up.
  control.notePresentBoot();
  shoal->shoalMap().damageCounterIs(&damageMet);
  return shoal;
}

}  // namespace

Pivot::Status GroupAnnouncement::askStore(EntityManager& manager, Pivot::String const& canonicalGroupName) {
  Pivot::Status status = Pivot::Status::ok();
  Pivot::Ptr<AnnouncedShoal> const announced = mountAnnounced(manager, canonicalGroupName, status);
  if (status)
    status = announced->shoalMap().reserve(static_cast<std::uint32_t>(kMaxTablesOfGroup) -
                                           announced->shoalMap().size());
  if (status) mountNeeded(manager, canonicalGroupName, status);
  return status;
}

GroupAnnouncement::GroupAnnouncement(Pivot::String const& canonicalGroupName, std::uint16_t agentAndGroupId,
                                     Statehub::EntityManager const& entityManager, std::uint64_t& damageMet)
    : agentAndGroupId_(agentAndGroupId) {
  Pivot::Ptr<VexSharedMem::EntityManager> const manager =
      VexSharedMem::EntityManager::getEntityManager(entityManager.systemName(), entityManager.local());
  announcedShoal_ = taken(&mountAnnounced, *manager, canonicalGroupName, damageMet);
  neededShoal_ = taken(&mountNeeded, *manager, canonicalGroupName, damageMet);
  loadAnnounced();
  Pivot::Status const room =
      announcedShoal_->shoalMap().reserve(static_cast<std::uint32_t>(kMaxTablesOfGroup - announcedCount_));
  VEX_ASSERT_MSG(room.isOk(), "the announced versions have room", "{}", room.message());
}

GroupAnnouncement::~GroupAnnouncement() {
  wakeReaders();
  announcedShoal_->shoalMap().damageCounterIs(nullptr);
  neededShoal_->shoalMap().damageCounterIs(nullptr);
}

void GroupAnnouncement::loadAnnounced() {
  Shoal::forEach(announcedShoal_->shoalMap(),
                 [this](AnnouncedRow const& row) { add(row.tableId).version = row.version; });
}

AnnouncedRow const* GroupAnnouncement::find(SwTableId tableId) const {
  std::span const rows(announced_.data(), announcedCount_);
  auto const at =
      std::find_if(rows.begin(), rows.end(), [&](AnnouncedRow const& row) { return row.tableId == tableId; });
  return at == rows.end() ? nullptr : &*at;
}

AnnouncedRow& GroupAnnouncement::add(SwTableId tableId) {
  VEX_ASSERT_MSG(tableId.agentAndGroupId() == agentAndGroupId_, "the table belongs to the group",
                 "table {}, group {:04x}", tableId, agentAndGroupId_);
  VEX_ASSERT_MSG(announcedCount_ < kMaxTablesOfGroup, "a group has at most 7 tables", "table {}", tableId);
  AnnouncedRow& row = announced_[announcedCount_++];
  row.tableId = tableId;
  return row;
}

LogVersion GroupAnnouncement::announcedVersion(SwTableId tableId) const {
  AnnouncedRow const* const row = find(tableId);
  return row == nullptr ? LogVersion() : row->version;
}

void GroupAnnouncement::addLogEntry(SwTableId tableId, LogVersion version,
                                    Pivot::Ptr<NeededEntry const> const& needed) {
  if (needed != nullptr && !needed->empty()) publishNeeds({tableId, version}, *needed);
  LOAM_CRASH_POINT("group: needs published");
  announce(tableId, version);
}

void GroupAnnouncement::publishNeeds(TableVersion const& record, NeededEntry const& needed) {
  NeededRow row{{record.tableId(), record.logVersion()}, {}};
  std::size_t count = 0;
  for (TableVersion const& need : needed.versions()) {
    LogVersion const version = lowered(record, need);
    // Each need that comes through names another announced table of the group, so six places are enough.
    if (version != LogVersion()) row.needs[count++] = TableVersion(need.tableId(), version);
  }
  if (count == 0) return;
  if (Pivot::Status const room = reserve(1); !room.isOk()) {
    VEX_TRACE(traceHandle, 1, "table: {}, version: {}: goes without its needed versions {}: {}",
              record.tableId(), record.logVersion(), needed, room.message());
    return;
  }
  neededShoal_->shoalMap().set(row);
}

LogVersion GroupAnnouncement::lowered(TableVersion const& record, TableVersion const& need) const {
  // As after a dependency on another unit of the instance: the order of the log keeps it.
  if (need.tableId() == record.tableId()) return LogVersion();
  if (need.tableId().agentAndGroupId() != agentAndGroupId_) {
    VEX_TRACE(traceHandle, 1, "table: {}, version: {}: dropped the need {} of a table outside the group",
              record.tableId(), record.logVersion(), need);
    return LogVersion();
  }
  return std::min(need.logVersion(), announcedVersion(need.tableId()));
}

void GroupAnnouncement::announce(SwTableId tableId, LogVersion version) {
  AnnouncedRow* const standing = const_cast<AnnouncedRow*>(find(tableId));
  if (standing != nullptr && version <= standing->version) return;
  AnnouncedRow& row = standing != nullptr ? *standing : add(tableId);
  row.version = version;
  Shoal::ShoalMap<AnnouncedRow>& map = announcedShoal_->shoalMap();
  std::uint64_t const lossEpoch = map.lossEpoch();
  map.set(row);
  // What the change found damaged took rows of other tables along; the writer of the hardware waits for them.
  if (map.lossEpoch() != lossEpoch) [[unlikely]]
    restoreAnnounced();
  LOAM_CRASH_POINT("group: announced");
  if (++announcementsUnwoken_ >= kAnnouncementsOfWake) wakeReaders();
}

void GroupAnnouncement::restoreAnnounced() {
  for (std::size_t i = 0; i < announcedCount_; ++i) announcedShoal_->shoalMap().set(announced_[i]);
}

void GroupAnnouncement::mend() {
  if (announcedShoal_->shoalMap().mend()) restoreAnnounced();
  if (neededShoal_->shoalMap().mend())
    VEX_TRACE(traceHandle, 1, "needed versions were damaged: their records go without");
  announcedShoal_->shoalMap().collectionControl().wakeReaders();
}

void GroupAnnouncement::logEntryDel(SwTableId tableId, LogVersion version) {
  Shoal::ShoalMap<NeededRow>& map = neededShoal_->shoalMap();
  if (map.size() != 0) map.del({tableId, version});
}

void GroupAnnouncement::wakeReaders() {
  if (announcementsUnwoken_ == 0) return;
  announcementsUnwoken_ = 0;
  announcedShoal_->shoalMap().collectionControl().wakeReaders();
}

Pivot::Status GroupAnnouncement::reserve(std::uint32_t records) {
  return neededShoal_->shoalMap().reserve(records);
}

}  // namespace Asic
