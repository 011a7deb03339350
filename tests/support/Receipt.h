// The receipt of an operation on a table that a test does not need.
#pragma once

#include "Asic/OrderedSwTable.h"

namespace TestSupport {

inline constexpr Asic::SwTableId kReceiptTable{0x14080401};

class Receipt final : public Asic::OrderedSwTable::EntryHandle {
 public:
  explicit Receipt(Asic::LogVersion version = {}) : EntryHandle({}) { logVersionIs(version); }
  Pivot::String tableName() const override { return "test"; }
  Asic::SwTableId tableId() const override { return kReceiptTable; }
};

}  // namespace TestSupport
