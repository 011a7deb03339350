// A table of the framework's own tests: pending when told to be, and remembering what it was told.
#pragma once

#include <functional>
#include <vector>

#include "Asic/OrderedSwTableSet.h"
#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "support/Receipt.h"

namespace AsicTest {

inline constexpr Asic::SwTableId kTableA{0x14080401};
inline constexpr Asic::SwTableId kTableB{0x14080402};

class FakeTable final : public Asic::OrderedSwTableWithMarkSweep {
 public:
  explicit FakeTable(Asic::UnitId unit = 0, Asic::SwTableId tableId = kTableA)
      : OrderedSwTableWithMarkSweep(Pivot::make<Asic::CanonicalTableName>(
                                        Asic::OrderedTableType::orderedSwTable, "Group", "Test", "Table"),
                                    tableId, unit, nullptr) {}

  void tableStatusVersion(Asic::LogVersion version) override {
    told.push_back(version.value());
    if (onStatus) onStatus();
  }
  bool hasPendingHwWrites() override {
    ++asked;
    return pending;
  }
  void mark() override {}
  void sweep() override {}

  bool pending = false;
  int asked = 0;
  std::vector<std::uint64_t> told;
  std::function<void()> onStatus;
};

using FakeHandle = TestSupport::Receipt;

}  // namespace AsicTest
