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
  EXPECT_EQ(nameOf(OrderedTableType{0}, "LoamInLifGroup", "LoamInLif", "InLif1"),
            "OrderedSwTable.LoamInLifGroup.InLif1");
  EXPECT_EQ(nameOf(OrderedTableType{1}, "LoamInLifGroup", "LoamInLif", "InLif1"),
            "PartiallyOrderedSwTable.InLif1");
  EXPECT_EQ(nameOf(OrderedTableType{2}, "", "LoamQos", "QosProfile.LoamInLif"),
            "ResourceTable.LoamQos::QosProfile.LoamInLif");
}

TEST(TableNameDeathTest, UnknownTypeEndsTheProcess) {
  EXPECT_DEATH(nameOf(OrderedTableType{3}, "", "", ""), "Table type undefined!");
}

}  // namespace
