#include "Asic/NamedSwTable.h"

#include <utility>

namespace Asic {

NamedSwTable::NamedSwTable(Pivot::Ptr<CanonicalTableName const> canonicalName)
    : canonicalName_(std::move(canonicalName)), name_(canonicalName_->name()) {}
NamedSwTable::~NamedSwTable() = default;
void NamedSwTable::reconcile() {}

}  // namespace Asic
