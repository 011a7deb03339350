// The resource table of a kind, by its class: resourceTable<QosProfileKind>(framework). For whoever steers what a table gives
// out, its values, its states and its capacity. On the agent's one thread.
#pragma once

#include "Asic/OrderedTableInterface.h"
#include "LoamInLif/Kinds.h"
#include "OrderedTable/TableName/TableName.h"
#include "Vex/Assert.h"

namespace LoamInLif {

// Ends the process with the name when the agent has registered no such table, or one of another class.
template <class Kind>
Pivot::Ptr<typename Kind::ResourceTable> resourceTable(Asic::OrderedTableInterface const& framework) {
  auto const name = Pivot::make<Asic::CanonicalTableName>(Asic::OrderedTableType::resourceTable, "",
                                                          Kind::resourceNamespace, Kind::resourceTableName);
  auto const resTbl = framework.resourceTable(name->name());
  VEX_ASSERT_MSG(resTbl, "resTbl", "no resource table {}", name->name());
  auto const typed = boost::dynamic_pointer_cast<typename Kind::ResourceTable>(resTbl);
  VEX_ASSERT_MSG(typed, "typedResourceTable", "resource table {} is of another class", name->name());
  return typed;
}

}  // namespace LoamInLif
