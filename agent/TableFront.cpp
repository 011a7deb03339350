#include "agent/TableFront.h"

#include <fmt/format.h>

#include <algorithm>

#include "Asic/GroupResolver.h"
#include "Asic/OrderedSwTableSet.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Tables.h"
#include "OrderedTable/SetAside.h"
#include "Vex/Assert.h"
#include "Vex/Text.h"

namespace LoamAgent {
namespace {

template <class I>
class SweepWalkOf final : public TableFront::SweepWalk {
 public:
  explicit SweepWalkOf(Pivot::Ptr<typename I::SwTable> table)
      : table_(std::move(table)), state_(table_->initIterState()) {}

  bool step() override {
    if (!table_->inMarkingState()) return false;
    auto const entry = state_->maybeUpdateCurrentEntry();
    if (!state_->state().entryValid()) return false;
    if (table_->markedKeyHas(entry.logEntry.key)) return true;
    ++plan_.go;
    if (plan_.sample.size() < TableFront::SweepPlan::kMostSample)
      plan_.sample.push_back(entry.logEntry.key.value());
    return true;
  }
  TableFront::SweepPlan plan() const override {
    TableFront::SweepPlan plan = plan_;
    // Some that were to go may have gone by themselves.
    plan.stay = table_->entrys() - std::min<std::uint64_t>(plan.go, table_->entrys());
    return plan;
  }

 private:
  Pivot::Ptr<typename I::SwTable> const table_;  // outlives the state, which points to it
  Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> const state_;
  TableFront::SweepPlan plan_;
};

template <class I>
class TableFrontOf final : public TableFront {
 public:
  TableFrontOf(Asic::TableInfo const& info, Pivot::Ptr<Asic::OrderedTableInterface> const& framework)
      : TableFront(info), interface_(I::Interface::getIntf(framework)) {}

  Pivot::Ptr<Table> table(Asic::UnitId unit) const override {
    return boost::static_pointer_cast<Table>(interface_->swTableSet()->swTable(unit));
  }
  Pivot::Ptr<Table> makeTable(Asic::UnitId unit, bool reset, Pivot::Ptr<Pivot::Node> const& helper) override {
    auto const own = boost::dynamic_pointer_cast<typename I::SwTableHelperBase>(helper);
    VEX_ASSERT_MSG(!helper || own, "a helper is of its table's base", "{} unit {}", info().name, unit);
    return interface_->makeSwTable(unit, own, reset);
  }
  Pivot::Status reconcileUnit(Asic::UnitId unit) override { return interface_->reconcileUnit(unit); }
  std::vector<Asic::UnitId> units() const override {
    std::vector<Asic::UnitId> units;
    interface_->swTableSet()->forEachTable(
        [&](Pivot::Ptr<Asic::OrderedSwTable> const& table) { units.push_back(table->unitId()); });
    return units;
  }
  Pivot::Ptr<Asic::OrderedSwTableStatus> const& status() const override {
    return interface_->swTableStatus();
  }
  void lookAtPending() override { interface_->swTableSet()->maybeUpdatePendingHwWrites(); }
  Asic::LogVersion written() const override { return interface_->entryLog()->tableVersion(); }
  Asic::LogVersion cleaned() const override { return interface_->entryLog()->cleanedVersion(); }
  std::uint32_t logRecords() const override {
    return interface_->entryLog()->tableEntryLog()->entryLogConfig().size();
  }

  std::vector<Pivot::String> takeLosses() override { return interface_->entryLog()->takeLosses(); }

  Pivot::Status publishAgain(LoamTunnelNiLib::InLifFailureRow const& row,
                             Pivot::Ptr<Asic::NeededEntry const> const& needed) override {
    Asic::UnitId const unit = row.key.unitId;
    auto const key = row.key.entryKey;
    auto const own = ownTable(unit);
    auto const& log = interface_->entryLog();
    auto const refused = [&](char const* why) {
      return Pivot::Status::refused(fmt::format("{} {}: {}", info().name, row.key, why));
    };
    if (!own) return refused("the unit has no table now; it is served again, or cleared");
    // An operation that is under way publishes the key by itself, and what is set aside comes first.
    if (own->setAside().any() || log->repairStands(unit)) return refused("others wait for room before it");
    bool const isUnit = row.key.wholeUnit != 0;
    if (isUnit ? log->entrys(unit) != 0 : !log->entryHas(key, unit))
      return refused(
          isUnit ? "its clear was refused, and entries were written since; remove them and clear again"
                 : "its removal was refused; write it and remove it again");
    if (Pivot::Status room = isUnit ? log->clearRoom() : log->updateRoom(); !room.isOk()) return room;
    if (isUnit)
      log->tableDel(needed, unit);
    else
      log->entryIs(log->entry(key, unit), log->entryRsrcKeys(key, unit), needed, unit, own->stats(), false);
    lookAtPending();
    return Pivot::Status::ok();
  }

  UnitStatus unitStatus(Asic::UnitId unit) const override {
    auto const own = ownTable(unit);
    auto const removeAlls = own->transientRemoveAllVersion();
    UnitStatus status;
    status.unit = unit;
    status.entries = own->entrys();
    status.inDeletion = interface_->entryLog()->entrysInDeletion(unit);
    status.pendingWrites = own->transientAddEntrys().size();
    status.pendingRemoves = own->transientRemoveEntrys().size();
    status.pendingRemoveAlls = removeAlls.valid() ? removeAlls.value() + 1 : 0;
    status.keysUnderWay = own->transientVersionForKeys().size();
    status.queued = own->groupResolver()->queueLength(own.get());
    status.inLog = own->entryHandleInLogs();
    status.setAside = own->setAside().size() + (interface_->entryLog()->repairStands(unit) ? 1 : 0);
    status.marking = own->inMarkingState();
    status.marked = own->markedKeys().size();
    status.pending = own->hasPendingHwWrites();
    status.statistics = own->stats();
    return status;
  }

  std::unique_ptr<SweepWalk> sweepWalk(Asic::UnitId unit) const override {
    return std::make_unique<SweepWalkOf<I>>(ownTable(unit));
  }
  bool marking(Asic::UnitId unit) const override { return ownTable(unit)->inMarkingState(); }
  void mark(Asic::UnitId unit) override { ownTable(unit)->mark(); }

 private:
  Pivot::Ptr<typename I::SwTable> ownTable(Asic::UnitId unit) const {
    return boost::static_pointer_cast<typename I::SwTable>(interface_->swTableSet()->swTable(unit));
  }

  Pivot::Ptr<typename I::Interface> interface_;
};

}  // namespace

TableFront::SweepPlan TableFront::sweepPlan(Asic::UnitId unit) const {
  auto const walk = sweepWalk(unit);
  while (walk->step()) continue;
  return walk->plan();
}

std::unique_ptr<TableFront> TableFront::make(std::size_t index,
                                             Pivot::Ptr<Asic::OrderedTableInterface> const& framework) {
  return LoamInLif::withInstance(index, [&]<class I>() -> std::unique_ptr<TableFront> {
    return std::make_unique<TableFrontOf<I>>(LoamInLif::groupInfo().tables[index], framework);
  });
}

}  // namespace LoamAgent
