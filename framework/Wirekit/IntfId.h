// Name of an interface in 64 bits: the name itself, as people write it, not a number that some table gave it.
//
// So an id means the same in every process and every life, needs no registry, and gives the name back letter
// for letter, leading zeros too. docs/interface-id.md draws the encoding. The empty id, of the empty name, is
// 0 and means "no interface".
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Vex/HashHelper.h"

namespace Wirekit {

class LOAM_FRAMEWORK_EXPORT IntfId {
 public:
  // The empty id.
  constexpr IntfId() = default;
  // Throws std::invalid_argument with the message of parse when the name is none.
  explicit IntfId(std::string_view name) { handleInitialized(name); }

  // Takes a name over, as the constructor does; a name that does not fit leaves the id as it was.
  void handleInitialized(std::string_view name);
  // The same without an exception: the message names the value and tells what is expected.
  static Pivot::Status parse(std::string_view name, IntfId& id);

  // The name as it was written; empty for the empty id.
  std::string name() const;
  constexpr std::uint64_t value() const { return value_; }
  constexpr bool isEmpty() const { return value_ == 0; }

  constexpr bool isEq(IntfId const& other) const { return value_ == other.value_; }
  std::uint32_t hash(std::uint32_t seed) const { return Vex::HashHelper::mix64(value_, seed); }
  constexpr bool operator==(IntfId const&) const = default;
  // By kind, count of numbers, and then the numbers, shorter ones first: Ethernet2 before Ethernet10.
  constexpr std::strong_ordering operator<=>(IntfId const&) const = default;

 private:
  std::uint64_t value_ = 0;
};
static_assert(sizeof(IntfId) == 8 && alignof(IntfId) == 8);
static_assert(std::is_trivially_copyable_v<IntfId> && std::is_standard_layout_v<IntfId>);
static_assert(std::has_unique_object_representations_v<IntfId>);

inline std::string textOf(IntfId const& id) {
  return id.name();
}

}  // namespace Wirekit
