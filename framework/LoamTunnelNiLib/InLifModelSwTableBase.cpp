#include "LoamTunnelNiLib/InLifModelSwTableBase.h"

namespace LoamTunnelNiLib {

InLifModelSwTableBase::~InLifModelSwTableBase() = default;

InLifModelSwTableBase::EntryHandle::EntryHandle(Asic::EntryVersion const& entryVersion,
                                                InLifModelEntryKey const& key, InLifModelSwTableBase* table)
    : Asic::OrderedSwTable::EntryHandle(entryVersion), key_(key), table_(table) {}

InLifModelSwTableBase::EntryHandle::~EntryHandle() = default;

Pivot::String InLifModelSwTableBase::EntryHandle::tableName() const {
  return table_->name();
}
Asic::SwTableId InLifModelSwTableBase::EntryHandle::tableId() const {
  return table_->tableId();
}

}  // namespace LoamTunnelNiLib
