// The agent's side of the group's shared records: what each table has announced, and which versions its
// records need.
//
// The group owns it; the entry logs reach it through the group. An announcement is the last step of a
// publication, and the change counter of the announced versions is the one word on which everybody sleeps.
//
//   A1. A record's needed versions stand in the store before its version is announced.
//   A2. An announced version never falls while its collection lives.
//   A3. A need names a version that its table had announced when the need was written. So needs point
//       backwards only: none is waited for in vain, and no two records wait for each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Asic/GroupShoal.h"
#include "Asic/NeededEntry.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"

namespace Statehub {
class EntityManager;
}

namespace VexSharedMem {
class EntityManager;
}

namespace Asic {

class AnnouncedShoal;
class NeededShoal;

class LOAM_FRAMEWORK_EXPORT GroupAnnouncement final {
 public:
  // So many announcements are made before the sleepers are woken without being asked for: a wake is a system
  // call, and a reader that is busy needs none.
  static constexpr std::uint32_t kAnnouncementsOfWake = 64;

  // Mounts the two collections and takes their room, for the group that is made next. Refused: no space, no permission,
  // or what else the store refuses.
  static Pivot::Status askStore(VexSharedMem::EntityManager& manager,
                                Pivot::String const& canonicalGroupName);

  // Mounts the two collections and takes up what an earlier life announced. A mount that is refused ends the
  // process: the agent asks the store before it makes a group.
  // `damageMet` rises with each damage met in them.
  GroupAnnouncement(Pivot::String const& canonicalGroupName, std::uint16_t agentAndGroupId,
                    Statehub::EntityManager const& entityManager, std::uint64_t& damageMet);
  ~GroupAnnouncement();

  // Publishes what the record needs, then announces its version. needed may be null or empty.
  // A need is lowered to what its table has announced. One of the record's own table and one of a table that
  // has announced nothing are dropped; one of a table outside the group is dropped with a trace.
  // REQUIRES: reserve() for a record with needs; without room they are dropped with a trace.
  void addLogEntry(SwTableId tableId, LogVersion version, Pivot::Ptr<NeededEntry const> const& needed);
  // Announces a version without needs. One at or below the announced version only makes sure that the row
  // stands.
  void announce(SwTableId tableId, LogVersion version);
  // Drops the needed versions of a record that was cleaned away.
  void logEntryDel(SwTableId tableId, LogVersion version);
  // Wakes those who sleep until something is announced, if anything was since the last time.
  void wakeReaders();

  bool announcedHas(SwTableId tableId) const { return find(tableId) != nullptr; }
  // 0 when the table has announced nothing.
  LogVersion announcedVersion(SwTableId tableId) const;

  // Whether the needed versions of so many more records will find room; makes the room if it can.
  Pivot::Status reserve(std::uint32_t records);
  // Looks both collections through for damage; announced versions that were lost stand again.
  void mend();

 private:
  void loadAnnounced();
  void restoreAnnounced();
  AnnouncedRow const* find(SwTableId tableId) const;
  AnnouncedRow& add(SwTableId tableId);
  void publishNeeds(TableVersion const& record, NeededEntry const& needed);
  // What of a need may be waited for; 0 when nothing.
  LogVersion lowered(TableVersion const& record, TableVersion const& need) const;

  std::uint16_t agentAndGroupId_;
  Pivot::Ptr<AnnouncedShoal> announcedShoal_;
  Pivot::Ptr<NeededShoal> neededShoal_;
  // The announced rows once more: every publication looks at them.
  std::array<AnnouncedRow, kMaxTablesOfGroup> announced_;
  std::size_t announcedCount_ = 0;
  std::uint32_t announcementsUnwoken_ = 0;
};

}  // namespace Asic
