// A version of one table: "that table, applied up to there".
//
// The same 16 bytes are a row of the table-version map, which the writer of the hardware keeps and the agent
// reads:
//
//   offset  width  field        who writes
//        0      4  tableId      writer of the hardware
//        4      4  reserved_    nobody, zero
//        8      8  logVersion   writer of the hardware; never falls
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Cobble/Export.h"

namespace Asic {

class TableVersion {
 public:
  constexpr TableVersion() = default;
  constexpr TableVersion(SwTableId tableId, LogVersion logVersion)
      : tableId_(tableId), logVersion_(logVersion) {}

  constexpr SwTableId tableId() const { return tableId_; }
  constexpr LogVersion logVersion() const { return logVersion_; }

  constexpr bool isEq(TableVersion const& other) const { return *this == other; }
  friend constexpr auto operator<=>(TableVersion const&, TableVersion const&) = default;

 private:
  friend struct TableVersionLayout;

  SwTableId tableId_;
  std::uint32_t reserved_ = 0;
  LogVersion logVersion_;
};

struct TableVersionLayout {
  static constexpr std::size_t kTableIdOffset = offsetof(TableVersion, tableId_);
  static constexpr std::size_t kLogVersionOffset = offsetof(TableVersion, logVersion_);
  static_assert(sizeof(TableVersion) == 16 && alignof(TableVersion) == 8);
  static_assert(kTableIdOffset == 0);
  static_assert(offsetof(TableVersion, reserved_) == 4);
  static_assert(kLogVersionOffset == 8);
  static_assert(std::is_standard_layout_v<TableVersion> && std::is_trivially_copyable_v<TableVersion>);
  static_assert(std::has_unique_object_representations_v<TableVersion>);
};

// As 14:08:0401@7.
LOAM_FRAMEWORK_EXPORT std::string textOf(TableVersion const& version);

}  // namespace Asic
