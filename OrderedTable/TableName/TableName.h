// The name by which a table is found among all tables of the agent.
//
//   type                     name()
//   orderedSwTable           OrderedSwTable.<group>.<name>
//   partiallyOrderedSwTable  PartiallyOrderedSwTable.<name>
//   resourceTable            ResourceTable.<namespace>::<name>
#pragma once

#include <cstdint>
#include <utility>

#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"

namespace Asic {

enum class OrderedTableType : std::uint32_t {
  orderedSwTable = 0,
  partiallyOrderedSwTable = 1,
  resourceTable = 2
};

class LOAM_FRAMEWORK_EXPORT CanonicalTableName final : public Pivot::Node {
 public:
  COBBLE_SLAB_SHARED(CanonicalTableName, Cobble::SlabAllocationPattern::kDefault)

  // The group of a resource table's name is empty.
  CanonicalTableName(OrderedTableType type, Pivot::String group, Pivot::String tableNamespace,
                     Pivot::String tableName)
      : type_(type),
        group_(std::move(group)),
        tableNamespace_(std::move(tableNamespace)),
        tableName_(std::move(tableName)) {}

  Pivot::TypeData typeData() const override;

  OrderedTableType type() const { return type_; }
  Pivot::String const& group() const { return group_; }
  Pivot::String const& tableNamespace() const { return tableNamespace_; }
  Pivot::String const& tableName() const { return tableName_; }

  // Composed anew at each call. A type that is none of the three ends the process with "Table type
  // undefined!".
  Pivot::String name() const;

 private:
  OrderedTableType type_;
  Pivot::String group_;
  Pivot::String tableNamespace_;
  Pivot::String tableName_;
};

}  // namespace Asic
