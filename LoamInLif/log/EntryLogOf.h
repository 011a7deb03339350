// The entry log of one instance, by name: the operations are EntryLogCore's, which knows no instance; this
// template adds the instance's names, its trace facility and messages, and the configurations of the units that
// have a table.
#pragma once

#include "Asic/UnitId.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/InLifNConstants.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/log/EntryLogCore.h"
#include "Pivot/Node.h"
#include "Vex/HashMap2018.h"
#include "Vex/Trace.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT EntryLogOf : public EntryLogCore {
 public:
  using HN_TableConfigShoal = Vex::Hm2018NE<Asic::UnitId, Pivot::Ptr<ConfigShoal>>;

  // Mounts the change log, settles what a killed run left half-done, and announces tableVersion to the
  // group.
  EntryLogOf(Asic::SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> const& entityManager,
             Pivot::Ptr<Asic::GroupInterface> const& groupInterface, Pivot::String const& agentName);
  ~EntryLogOf() override { tableConfigShoalDelAll(); }

  // The configuration of a unit, or null when it is not mounted.
  Pivot::Ptr<ConfigShoal> tableConfigShoal(Asic::UnitId unitId) const {
    return tableConfigShoal_.get(unitId);
  }
  bool tableConfigShoalHas(Asic::UnitId unitId) const { return tableConfigShoal_.has(unitId); }
  // Adds or replaces; a null configuration removes the unit.
  void tableConfigShoalIs(Asic::UnitId unitId, Pivot::Ptr<ConfigShoal> const& config) {
    unitMountedIs(unitId, config);
    if (config) {
      tableConfigShoal_.set(unitId, config);
    } else {
      tableConfigShoal_.erase(unitId);
    }
  }
  // Returns what was removed, or null.
  Pivot::Ptr<ConfigShoal> tableConfigShoalDel(Asic::UnitId unitId) {
    unitMountedIs(unitId, nullptr);
    return tableConfigShoal_.take(unitId).value_or(nullptr);
  }
  void tableConfigShoalDelAll() {
    for (auto const& row : tableConfigShoal_) unitMountedIs(row.key(), nullptr);
    tableConfigShoal_.clear();
  }

  // Mounts a unit's configuration. `tableVersion` is the version up to which the hardware has taken the log,
  // 0 if none is known: marked records up to it are dropped. A unit that does not agree with the log, since
  // one of them was lost, is published anew.
  void mountShoalConfig(Asic::UnitId unitId, Asic::LogVersion tableVersion);

 private:
  friend struct RecordOf<EntryLogOf>;

  static Vex::TraceHandle trace_;
  static Messages messages_;
  static InstanceNames const instanceNames_;

  Vex::HashMap2018<HN_TableConfigShoal, I::Seeds::tableConfigShoal> tableConfigShoal_;
};

}  // namespace LoamInLif
