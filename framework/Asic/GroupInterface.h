// One group of ordered tables: what the tables share, and what the agent's loop drives.
//
// Made by OrderedTableInterface, which owns it under its canonical name. The interfaces of the tables find
// here the resolver, the announced versions and the table-version map, and leave their sets of tables. The
// agent's loop gives turns to it and to the resolver. All on the agent's one thread.
//
// Sets, tables and logs hold each other and the group; takeDown() lets go of the sets, and all of them end
// with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Asic/EntryLogBase.h"
#include "Asic/GroupAnnouncement.h"
#include "Asic/GroupResolver.h"
#include "Asic/NeededEntry.h"
#include "Asic/OrderedSwTableSet.h"
#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "Asic/TableVersionMap.h"
#include "Cobble/Slab.h"
#include "Pivot/Status.h"

namespace Statehub {
class EntityManager;
}

namespace Asic {

class LOAM_FRAMEWORK_EXPORT GroupInterface final : public Pivot::Node {
 public:
  COBBLE_SLAB(GroupInterface, Cobble::SlabAllocationPattern::kDefault)

  // Most versions that one report may cover: the clean-up of a report is part of one turn of the agent's
  // loop.
  static constexpr std::uint64_t kMaxVersionsOfReport = 512;

  // Mounts the group's collections. REQUIRES: entityManager is not null.
  GroupInterface(Pivot::String agentName, Pivot::String groupName, std::uint16_t agentAndGroupId,
                 Pivot::Ptr<Statehub::EntityManager> const& entityManager);
  ~GroupInterface() override;
  Pivot::TypeData typeData() const override;

  Pivot::String const& agentName() const { return agentName_; }
  Pivot::String const& groupName() const { return groupName_; }
  // The canonical name.
  Pivot::String const& name() const { return name_; }
  std::uint16_t agentAndGroupId() const { return agentAndGroupId_; }
  Pivot::Ptr<GroupResolver> const& groupResolver() const { return groupResolver_; }

  // Keeps a set under its table id, in place of an earlier one. REQUIRES: set is not null and its id belongs
  // to this group; a group takes kMaxTablesOfGroup sets.
  void swTableSetIs(Pivot::Ptr<OrderedSwTableSet> const& set);
  bool swTableSetHas(SwTableId tableId) const { return find(tableId) != nullptr; }
  // Null when the group has none.
  Pivot::Ptr<OrderedSwTableSet> swTableSet(SwTableId tableId) const;
  template <class F>
  void forEachSet(F&& f) const {
    for (std::size_t i = 0; i < tables_.size(); ++i) f(Pivot::Ptr<OrderedSwTableSet>(tables_[i].set));
  }

  // Takes a table into the list of tables to sweep; one that is there stays once. REQUIRES: table is not
  // null.
  void sweepableSwTableSetIs(Pivot::Ptr<OrderedSwTableWithMarkSweep> const& table);
  // Sweeps each table of the list; they stay in it, since a table can be marked again.
  void sweepTables();

  // The last step of each publication of a log; see GroupAnnouncement.
  void addLogEntry(SwTableId tableId, LogVersion version, Pivot::Ptr<NeededEntry const> const& needed) {
    announcement_.addLogEntry(tableId, version, needed);
  }
  // Announces a version without needs: the version that a log has when it is opened.
  void announce(SwTableId tableId, LogVersion version) { announcement_.announce(tableId, version); }
  LogVersion announcedVersion(SwTableId tableId) const { return announcement_.announcedVersion(tableId); }
  // The announced and the needed versions. The agent's loop wakes their readers before it sleeps.
  GroupAnnouncement& announcement() { return announcement_; }

  TableVersionMap& tableVersionMap() { return tableVersionMap_; }

  // The logs of the group's tables, each while it lives.
  void entryLogIs(EntryLogBase& log) { entryLogs_.push_back(&log); }
  void entryLogDel(EntryLogBase& log) { std::erase(entryLogs_, &log); }
  // Rises when this process meets damage in a collection of its own; see ShoalMapBase::damageCounterIs().
  std::uint64_t& damageCounter() { return damageMet_; }

  // One turn of the agent's loop: passes on what the writer of the hardware has reported since, to every table of
  // every set, at most kMaxVersionsOfReport versions for each set. Returns whether there is more to do at once.
  // Response handlers run inside; an exception that leaves one ends the process with its text. Damage that was met
  // since, here or by the writer, is mended before.
  bool turn();

  // Drops what waits in the resolver, then the tables. Whoever calls the group or one of its tables afterwards ends the
  // process with a text (CallCheck.h); to let go of one is no call.
  void takeDown();

 private:
  struct Table {
    Pivot::Ptr<OrderedSwTableSet> set;
    // What the tables have been told; never falls.
    LogVersion passedOn;
  };

  // What one look at a row has left: nothing, versions that wait for the next call, or a report of versions
  // that do not exist yet.
  enum class Left { nothing, more, unborn };

  Table const* find(SwTableId tableId) const;
  Left passOn(std::size_t index);
  void passOnWithoutTable(OrderedSwTableSet& set, LogVersion version);
  void mend(bool complained);

  Pivot::String agentName_;
  Pivot::String groupName_;
  Pivot::String name_;
  std::uint16_t agentAndGroupId_;
  Pivot::Ptr<GroupResolver> groupResolver_;
  std::uint64_t damageMet_ = 0;
  std::uint64_t damageMended_ = 0;  // of damageMet_
  GroupAnnouncement announcement_;
  TableVersionMap tableVersionMap_;
  std::vector<EntryLogBase*> entryLogs_;
  std::vector<Table> tables_;
  std::vector<Pivot::Ptr<OrderedSwTableWithMarkSweep>> sweepable_;
  // The rows are to be looked at although the map has not changed: a report was not passed on as a whole, or
  // a set has come.
  bool lookAgain_ = true;
  bool inTurn_ = false;
};

}  // namespace Asic
