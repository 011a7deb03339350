// The agent's side of the group's shared records: what each table has announced, and which versions its
// records need.
//
// The group owns it; the entry logs reach it through the group. An announcement is the last step of a
// publication and the one word by which everybody is woken: the change counter of the announced versions.
//
//   A1. A record's needed versions stand in the store before its version is announced.
//   A2. An announced version never falls while its collection lives.
//   A3. A need names a version that its table had announced when the need was written. So needs point
//   backwards only: none can be
//       waited for in vain, and no two records can wait for each other.
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

namespace Asic {

class AnnouncedShoal;
class NeededShoal;

class LOAM_FRAMEWORK_EXPORT GroupAnnouncement final {
 public:
  // Mounts the two collections and takes up what an earlier life announced.
  GroupAnnouncement(Pivot::String const& canonicalGroupName, std::uint16_t agentAndGroupId,
                    Statehub::EntityManager const& entityManager);
  ~GroupAnnouncement();

  // Publishes what the record needs, then announces its version. needed may be null or empty.
  // A need is lowered to what its table has announced; a need of the record's own table, of a table outside
  // the group or of one that has announced nothing is dropped, the first two with a trace.
  void addLogEntry(SwTableId tableId, LogVersion version, Pivot::Ptr<NeededEntry const> const& needed);
  // Announces a version without needs. One at or below the announced version only makes sure that the row
  // stands.
  void announce(SwTableId tableId, LogVersion version);
  // Drops the needed versions of a record that was cleaned away.
  void logEntryDel(SwTableId tableId, LogVersion version);

  bool announcedHas(SwTableId tableId) const { return find(tableId) != nullptr; }
  // 0 when the table has announced nothing.
  LogVersion announcedVersion(SwTableId tableId) const;

  // Whether the needed versions of one more record will find room; makes the room if it can.
  Pivot::Status reserve();

 private:
  struct Announced {
    SwTableId tableId;
    LogVersion version;
  };

  Announced const* find(SwTableId tableId) const;
  Announced& findOrAdd(SwTableId tableId);
  void loadAnnounced();
  bool needAccepted(SwTableId tableId, LogVersion version, TableVersion const& need) const;

  std::uint16_t agentAndGroupId_;
  Pivot::Ptr<AnnouncedShoal> announcedShoal_;
  Pivot::Ptr<NeededShoal> neededShoal_;
  // The announced rows once more: every publication looks at them.
  std::array<Announced, kMaxTablesOfGroup> announced_;
  std::size_t announcedCount_ = 0;
};

}  // namespace Asic
