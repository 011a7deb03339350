// The names by which tables find each other.
#include "OrderedTable/TableName/TableName.h"

#include <gtest/gtest.h>

namespace {

using Asic::CanonicalTableName;
using Asic::OrderedTableType;

Pivot::String nameOf(OrderedTableType type, char const* group, char const* tableNamespace,
                     char const* tableName) {
  return Pivot::make<CanonicalTableName>(type, group, tableNamespace, tableName)->name();
}

TEST(TableName, ComposesByType) {
  EXPECT_EQ(nameOf(OrderedTableType{0}, "Group", "Space", "InLif1"), "OrderedSwTable.Group.InLif1");
  EXPECT_EQ(nameOf(OrderedTableType{1}, "Group", "Space", "InLif1"), "PartiallyOrderedSwTable.InLif1");
  EXPECT_EQ(nameOf(OrderedTableType{2}, "", "LoamQos", "Qos.In"), "ResourceTable.LoamQos::Qos.In");
  EXPECT_DEATH(nameOf(OrderedTableType{3}, "", "", ""), "Table type undefined!");
}

}  // namespace
