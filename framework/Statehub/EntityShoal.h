// The collection in which the central store keeps the values that outlive the agent: owned by the agent, read
// by whoever inspects the store.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Shoal/RecordTraits.h"

namespace Statehub {

inline constexpr char const* kEntityPath = "statehub/entity";
inline constexpr std::uint32_t kMaxEntityRows = 4096;

// Null-padded.
struct EntityPath {
  std::array<char, 240> text;
};

//   offset  width  field     who writes
//   0       240    path      the agent; the key
//   240     64     typeName  the agent, null-padded
//   304     u64    value     the agent
struct EntityRow {
  EntityPath path;
  std::array<char, 64> typeName;
  std::uint64_t value;
};
static_assert(sizeof(EntityRow) == 312 && offsetof(EntityRow, typeName) == 240 &&
              offsetof(EntityRow, value) == 304);

}  // namespace Statehub

template <>
struct Shoal::RecordTraits<Statehub::EntityRow> {
  using Key = Statehub::EntityPath;
  static Key key(Statehub::EntityRow const& row) { return row.path; }
  static constexpr char const* typeName = "Statehub::EntityRow";
  static constexpr std::uint64_t layout = layoutSignature({312, 240, 304});
};
