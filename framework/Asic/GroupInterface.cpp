// A group: its sets, the list of tables to sweep, and the reports of the writer of the hardware on their way
// to the tables.
#include "Asic/GroupInterface.h"

#include <algorithm>
#include <utility>

#include "Asic/Constants.h"
#include "Asic/EndOnException.h"
#include "Statehub/EntityManager.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace Asic {

namespace {

Vex::TraceHandle traceHandle("GroupInterface");

}  // namespace

GroupInterface::GroupInterface(Pivot::String agentName, Pivot::String groupName,
                               std::uint16_t agentAndGroupId,
                               Pivot::Ptr<Statehub::EntityManager> const& entityManager)
    : agentName_(std::move(agentName)),
      groupName_(std::move(groupName)),
      name_(Constants::canonicalizeGroupName(agentName_, groupName_)),
      agentAndGroupId_(agentAndGroupId),
      groupResolver_(Pivot::make<GroupResolver>(groupName_)),
      announcement_(name_, agentAndGroupId, *entityManager, damageMet_),
      tableVersionMap_(Constants::canonicalGroupTableVersionShoalPath(name_), announcement_) {}

GroupInterface::~GroupInterface() {
  takeDown();
}

GroupInterface::Table const* GroupInterface::find(SwTableId tableId) const {
  auto const at = std::find_if(tables_.begin(), tables_.end(),
                               [&](Table const& table) { return table.set->tableId() == tableId; });
  return at == tables_.end() ? nullptr : &*at;
}

void GroupInterface::swTableSetIs(Pivot::Ptr<OrderedSwTableSet> const& set) {
  VEX_ASSERT(set != nullptr, "swTableSet");
  VEX_ASSERT_MSG(set->tableId().agentAndGroupId() == agentAndGroupId_, "the set belongs to the group",
                 "table {}, group {:04x}", set->tableId(), agentAndGroupId_);
  lookAgain_ = true;
  if (Table const* const table = find(set->tableId())) {
    Pivot::Ptr<OrderedSwTableSet> const old = std::exchange(const_cast<Table*>(table)->set, set);
    return;
  }
  VEX_ASSERT_MSG(tables_.size() < kMaxTablesOfGroup, "a group has at most 7 tables", "table {}",
                 set->tableId());
  tables_.push_back({set, LogVersion()});
}

Pivot::Ptr<OrderedSwTableSet> GroupInterface::swTableSet(SwTableId tableId) const {
  Table const* const table = find(tableId);
  return table == nullptr ? nullptr : table->set;
}

void GroupInterface::sweepableSwTableSetIs(Pivot::Ptr<OrderedSwTableWithMarkSweep> const& table) {
  VEX_ASSERT(table != nullptr, "swTable");
  if (std::find(sweepable_.begin(), sweepable_.end(), table) == sweepable_.end()) sweepable_.push_back(table);
}

void GroupInterface::sweepTables() {
  // A sweep may bring a table into the list; that one is swept too.
  for (std::size_t i = 0; i < sweepable_.size(); ++i) {
    Pivot::Ptr<OrderedSwTableWithMarkSweep> const table = sweepable_[i];
    table->sweep();
  }
}

bool GroupInterface::turn() {
  groupResolver_->callCheck().check("GroupInterface::turn");
  if (inTurn_) return false;
  announcement_.wakeReaders();
  bool const changed = tableVersionMap_.changed();
  if (bool const complained = changed && tableVersionMap_.takeComplaint();
      complained || damageMet_ != damageMended_)
    mend(complained);
  if (!changed && !lookAgain_) return false;
  inTurn_ = true;
  lookAgain_ = false;
  bool more = false;
  // A response handler may bring a set into the group.
  for (std::size_t i = 0; i < tables_.size(); ++i) {
    Left const left = passOn(i);
    more = more || left == Left::more;
    if (left != Left::nothing) lookAgain_ = true;
  }
  inTurn_ = false;
  return more;
}

// What the writer cannot read it has to leave out, and reports nothing more of that table until it can.
void GroupInterface::mend(bool complained) {
  VEX_TRACE(traceHandle, 1, "{} met damage: every collection of the group is looked through",
            complained ? "the writer of the hardware" : "the agent");
  std::vector<EntryLogBase*> const logs = entryLogs_;
  for (EntryLogBase* const log : logs) log->mend();
  // What is to be published anew and found no room.
  forEachSet([](Pivot::Ptr<OrderedSwTableSet> const& set) { set->maybeUpdatePendingHwWrites(); });
  // Last, since it wakes the writer.
  announcement_.mend();
  damageMended_ = damageMet_;
}

GroupInterface::Left GroupInterface::passOn(std::size_t index) {
  // Both are copies: the vector may grow within a handler.
  Pivot::Ptr<OrderedSwTableSet> const set = tables_[index].set;
  LogVersion const told = tables_[index].passedOn;
  TableVersionMap::Row const row = tableVersionMap_.read(set->tableId());
  Left const unborn = row.existing < row.reported ? Left::unborn : Left::nothing;
  if (row.existing <= told) return unborn;
  // What row() handed out was cleaned from the log at once. A step that stayed below it would take the log's
  // cleaned version back.
  LogVersion const step =
      std::max(LogVersion(told.value() + kMaxVersionsOfReport), tableVersionMap_.handedOut(set->tableId()));
  LogVersion const version = std::min(row.existing, step);
  tables_[index].passedOn = version;
  VEX_TRACE(traceHandle, 8, "table: {}, version: {}, reported: {}", set->tableId(), version, row.reported);
  endOnException("an exception left a table that was told of a version, or a response handler", [&] {
    set->forEachTable(
        [version](Pivot::Ptr<OrderedSwTable> const& table) { table->tableStatusVersion(version); });
    if (set->empty()) passOnWithoutTable(*set, version);
  });
  return version < row.existing ? Left::more : unborn;
}

// What an earlier life left in the log goes also when no unit of the table is served in this one.
void GroupInterface::passOnWithoutTable(OrderedSwTableSet& set, LogVersion version) {
  for (EntryLogBase* const log : entryLogs_) {
    if (log->tableId() != set.tableId()) continue;
    log->cleanupEntryLog(version);
    if (log->cleanedVersion() >= log->tableVersion()) set.status()->pendingHwWritesIs(false);
  }
}

void GroupInterface::takeDown() {
  groupResolver_->takeDown();
  sweepable_.clear();
  std::vector<Table> const tables = std::exchange(tables_, {});
  for (Table const& table : tables) table.set->swTableDelAll();
}

}  // namespace Asic
