#include "LoamTunnelNiLib/InLifModelSwTableBase.h"

namespace LoamTunnelNiLib {

InLifModelSwTableBase::InLifModelSwTableBase(Pivot::Ptr<Asic::CanonicalTableName const> const& name,
                                             Asic::SwTableId tableId, Asic::UnitId unitId,
                                             Asic::OrderedSwTableSet* swTableSet)
    : Asic::OrderedSwTableWithMarkSweep(name, tableId, unitId, swTableSet),
      identity_(Pivot::make<Identity>(this->name(), tableId, this)) {}

InLifModelSwTableBase::~InLifModelSwTableBase() {
  identity_->table = nullptr;
}

InLifModelSwTableBase::EntryHandle::EntryHandle(Asic::EntryVersion const& entryVersion,
                                                InLifModelEntryKey const& key, InLifModelSwTableBase* table)
    : Asic::OrderedSwTable::EntryHandle(entryVersion), key_(key), identity_(table->identity_) {}

InLifModelSwTableBase::EntryHandle::~EntryHandle() = default;

Pivot::String InLifModelSwTableBase::EntryHandle::tableName() const {
  return identity_->name;
}
Asic::SwTableId InLifModelSwTableBase::EntryHandle::tableId() const {
  return identity_->tableId;
}

}  // namespace LoamTunnelNiLib
