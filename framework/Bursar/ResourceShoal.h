// Where a resource table keeps what it has handed out, so that the same key has the same value in the agent's
// next life: one shared collection for each table, owned and written by the agent, read by nobody else while
// it runs.
//
// ResourceRecord, keyed by `key`, of K bytes:
//
//   offset  width  field     default  written by
//   0       u64    value     0        the table: what clients see
//   8       u64    allocated 0        the table: what it gave out; 0 for a value that is computed
//   16      K      key                the table
//   16+K    u8     state     4        the table: the state of the resource
//   17+K    rest   reserved  0        nobody
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Pivot/Node.h"
#include "Shoal/ShoalMap.h"

namespace BursarResourceTable {

template <class Traits>
struct ResourceRecord {
  using Key = typename Traits::Key;

  std::uint64_t value = 0;
  std::uint64_t allocated = 0;
  Key key{};
  std::uint8_t state = 4;
  std::uint8_t reserved[8 - (sizeof(Key) + 1) % 8] = {};
};

}  // namespace BursarResourceTable

template <class Traits>
struct Shoal::RecordTraits<BursarResourceTable::ResourceRecord<Traits>> {
  using Record = BursarResourceTable::ResourceRecord<Traits>;
  using Key = typename Traits::Key;
  static_assert(offsetof(Record, value) == 0 && offsetof(Record, allocated) == 8 &&
                offsetof(Record, key) == 16);
  static_assert(offsetof(Record, state) == 16 + sizeof(Key));
  static_assert(std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>);

  static Key key(Record const& record) noexcept { return record.key; }
  static constexpr char const* typeName = Traits::kShoalName;
  static constexpr std::uint64_t layout =
      Shoal::layoutSignature({sizeof(Record), 0, 8, 16, sizeof(Key), offsetof(Record, state)});
};

namespace BursarResourceTable {

template <class Traits>
class ResourceShoal final : public Pivot::Node {
 public:
  using Record = ResourceRecord<Traits>;
  using Map = Shoal::ShoalMap<Record, typename Traits::Key>;
  static constexpr char const* kTypeName = Traits::kShoalName;
  static constexpr char const* kAttribute = "handedOut";

  Map& map() noexcept { return map_; }
  // For the mount.
  Shoal::ShoalMapBase& shoalMap() noexcept { return map_; }

 private:
  Map map_;
};

}  // namespace BursarResourceTable
