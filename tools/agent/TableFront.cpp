#include "tools/agent/TableFront.h"

#include <algorithm>

#include "Asic/GroupResolver.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "LoamInLif/Instance.h"

namespace Inlif {
namespace {

Json statisticsJson(Asic::SwTableStats const& stats) {
  return {{"writes", stats.entryWriteCnt()},
          {"removes", stats.entryRemoveCnt()},
          {"commits", stats.commitCnt()},
          {"resolveFailures", stats.resolveFailCnt()},
          {"updates", stats.updateCnt()},
          {"updatesWithFailedResource", stats.updateWithFailedResourceCnt()},
          {"clears", stats.tableClearCnt()},
          {"suppressed", stats.suppressedWriteCnt()},
          {"comparedAndDifferent", stats.suppressCheckDiffCnt()},
          {"lastCommit", stats.lastCommitTime()}};
}

template <class I>
class SweepWalkOf final : public TableFront::SweepWalk {
 public:
  explicit SweepWalkOf(Pivot::Ptr<typename I::SwTable> table)
      : table_(std::move(table)), state_(table_->initIterState()) {}

  bool step() override {
    if (!table_->inMarkingState()) return false;
    auto const entry = state_->maybeUpdateCurrentEntry();
    if (entry.isEq(LoamTunnelNiLib::InLifModelEntry())) return false;
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
  TableFrontOf(TableInfo const& info, Pivot::Ptr<Asic::OrderedTableInterface> const& framework)
      : TableFront(info), interface_(I::Interface::getIntf(framework)) {}

  Pivot::Ptr<Table> table(Asic::UnitId unit) const override {
    return boost::static_pointer_cast<Table>(interface_->swTableSet()->swTable(unit));
  }
  Pivot::Ptr<Table> makeTable(Asic::UnitId unit, bool reset) override {
    // The base of the helpers changes nothing; a table must have one before its first commit.
    Pivot::Ptr<typename I::SwTableHelperBase> helper;
    if (!interface_->swTableSet()->swTableHas(unit)) helper = Pivot::make<typename I::SwTableHelperBase>();
    return interface_->makeSwTable(unit, helper, reset);
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
  void pendingLook() override { interface_->swTableSet()->maybeUpdatePendingHwWrites(); }
  Asic::LogVersion written() const override { return interface_->entryLog()->tableVersion(); }
  Asic::LogVersion cleaned() const override { return interface_->entryLog()->cleanedVersion(); }
  std::uint32_t logRecords() const override {
    return interface_->entryLog()->tableEntryLog()->entryLogConfig().size();
  }

  std::vector<Pivot::String> lossesTake() override { return interface_->entryLog()->lossesTake(); }

  void addUnitStatus(Asic::UnitId unit, Json& out) const override {
    auto const own = ownTable(unit);
    auto const removeAlls = own->transientRemoveAllVersion();
    out["entries"] = own->entrys();
    out["inDeletion"] = interface_->entryLog()->entrysInDeletion(unit);
    out["pendingWrites"] = own->transientAddEntrys().size();
    out["pendingRemoves"] = own->transientRemoveEntrys().size();
    out["pendingRemoveAlls"] = removeAlls.valid() ? removeAlls.value() + 1 : 0;
    out["keysUnderWay"] = own->transientVersionForKeys().size();
    out["queued"] = own->groupResolver()->queueLength(own.get());
    out["inLog"] = own->entryHandleInLogs();
    out["setAside"] = own->setAside().size() + (interface_->entryLog()->repairStands(unit) ? 1 : 0);
    out["marking"] = own->inMarkingState();
    out["marked"] = own->markedKeys().size();
    out["suppressed"] = own->stats() ? own->stats()->suppressedWriteCnt() : 0;
    out["pending"] = own->hasPendingHwWrites();
    if (own->stats()) out["statistics"] = statisticsJson(*own->stats());
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
  TableInfo const& info = tables()[index];
  switch (index) {
    case 0:
      return std::make_unique<TableFrontOf<LoamInLif::InLif0>>(info, framework);
    case 1:
      return std::make_unique<TableFrontOf<LoamInLif::InLif1>>(info, framework);
    default:
      return std::make_unique<TableFrontOf<LoamInLif::InLif23>>(info, framework);
  }
}

}  // namespace Inlif
