// Composition of canonical table names.
#include "OrderedTable/TableName/TableName.h"

#include "Vex/Assert.h"

namespace Asic {

COBBLE_TRACKER(CanonicalTableName)

Pivot::String CanonicalTableName::name() const {
  switch (type_) {
    case OrderedTableType::orderedSwTable:
      return "OrderedSwTable." + group_ + "." + tableName_;
    case OrderedTableType::partiallyOrderedSwTable:
      return "PartiallyOrderedSwTable." + tableName_;
    case OrderedTableType::resourceTable:
      return "ResourceTable." + tableNamespace_ + "::" + tableName_;
  }
  VEX_ASSERT_MSG(false, "Table type undefined!", "type {}", static_cast<std::uint32_t>(type_));
}

}  // namespace Asic
