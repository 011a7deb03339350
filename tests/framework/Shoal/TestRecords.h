// Record types and shorthands for the tests of the store.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>

#include "Pivot/Exceptions.h"
#include "Shoal/ShoalMap.h"
#include "support/TempStore.h"

namespace ShoalTest {

// Numbers of 32 bits.
using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

// A record that proves itself: every word of the body is made from key and value.
struct Row {
  std::uint32_t key;
  std::uint32_t value;
  std::array<std::uint32_t, 24> body;

  static Row of(std::uint32_t key, std::uint32_t value) {
    Row row{key, value, {}};
    for (std::uint32_t i = 0; i < row.body.size(); ++i) row.body[i] = key * 31 + value * 17 + i;
    return row;
  }
  bool whole() const { return body == of(key, value).body; }
};

// A byte from one process to another.
class Signal {
 public:
  Signal() { EXPECT_EQ(::pipe(ends_), 0); }
  ~Signal() { ::close(ends_[0]), ::close(ends_[1]); }
  void give() { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }
  void await() {
    char byte;
    EXPECT_EQ(::read(ends_[0], &byte, 1), 1);
  }

 private:
  int ends_[2];
};

}  // namespace ShoalTest

template <>
struct Shoal::RecordTraits<ShoalTest::Row> {
  using Key = std::uint32_t;
  static Key key(ShoalTest::Row const& row) { return row.key; }
  static constexpr char const* typeName = "ShoalTest::Row";
  static constexpr std::uint64_t layout = layoutSignature({sizeof(ShoalTest::Row)});
};

namespace ShoalTest {

using RowMap = Shoal::ShoalMap<Row>;
using Oracle = std::map<std::uint32_t, std::uint32_t>;
using Role = VexSharedMem::StoreRoot::Role;

inline std::unique_ptr<RowMap> mounted(std::string const& path, std::uint32_t capacity,
                                       Role role = Role::agent) {
  auto map = std::make_unique<RowMap>();
  if (Pivot::Status const status = map->mount({path, capacity, capacity, role}); !status)
    throw std::runtime_error(status.message());
  return map;
}

inline void put(RowMap& map, std::uint32_t key, std::uint32_t value) {
  if (!map.has(key))
    if (Pivot::Status const status = map.reserve(1); !status) throw std::runtime_error(status.message());
  map.set(Row::of(key, value));
}

// All records by a walk, each verified; throws if one comes twice or is torn.
inline Oracle contents(RowMap const& map) {
  Oracle all;
  Shoal::IterHint hint;
  for (Row const* row = map.first(hint); row != nullptr;) {
    std::uint32_t const key = row->key;
    if (!row->whole() || !all.emplace(key, row->value).second)
      throw std::runtime_error("record " + std::to_string(key) + " is torn or comes twice");
    row = map.next(key, hint);
  }
  return all;
}

}  // namespace ShoalTest
