// The number of a record in the log of one table instance: rises by one with each record, over all units. 0
// means none.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "Cobble/Export.h"

namespace Asic {

class LogVersion {
 public:
  constexpr LogVersion() = default;
  explicit constexpr LogVersion(std::uint64_t value) : value_(value) {}

  constexpr std::uint64_t value() const { return value_; }
  // Compared as plain numbers: a counter of 64 bits that rises by one does not come round.
  friend constexpr auto operator<=>(LogVersion, LogVersion) = default;

 private:
  std::uint64_t value_ = 0;
};
static_assert(sizeof(LogVersion) == 8);

LOAM_FRAMEWORK_EXPORT std::string textOf(LogVersion version);

}  // namespace Asic
