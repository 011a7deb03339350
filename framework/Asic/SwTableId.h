// The id of a software table: which agent, which group of that agent, which table of that group.
//
// It is a key of shared records, so its 32 bits are fixed: agentId (31..24), groupId (23..16), tblId (15..0).
#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "Cobble/Export.h"
#include "Vex/HashHelper.h"

namespace Asic {

class SwTableId {
 public:
  constexpr SwTableId() = default;
  explicit constexpr SwTableId(std::uint32_t value) : value_(value) {}
  constexpr SwTableId(std::uint8_t agentId, std::uint8_t groupId, std::uint16_t tblId)
      : value_(std::uint32_t{agentId} << 24 | std::uint32_t{groupId} << 16 | tblId) {}

  constexpr std::uint32_t value() const { return value_; }
  constexpr std::uint8_t agentId() const { return static_cast<std::uint8_t>(value_ >> 24); }
  constexpr std::uint8_t groupId() const { return static_cast<std::uint8_t>(value_ >> 16); }
  constexpr std::uint16_t tblId() const { return static_cast<std::uint16_t>(value_); }
  // The high half, common to all tables of one group.
  constexpr std::uint16_t agentAndGroupId() const { return static_cast<std::uint16_t>(value_ >> 16); }

  constexpr bool isEq(SwTableId other) const { return value_ == other.value_; }
  std::uint32_t hash(std::uint32_t seed) const { return Vex::HashHelper::mix32(value_, seed); }
  friend constexpr auto operator<=>(SwTableId, SwTableId) = default;

 private:
  std::uint32_t value_ = 0;
};
static_assert(sizeof(SwTableId) == 4);

// As agent:group:table in hexadecimal, for instance 14:08:0403.
LOAM_FRAMEWORK_EXPORT std::string textOf(SwTableId id);

}  // namespace Asic
