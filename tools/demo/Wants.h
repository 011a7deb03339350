// What a client wants in the end, kept as the operations by which it says so: the last write of each key.
// After each death of the agent it is written again from here, and in the end the store is compared with it.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "tools/demo/Comparison.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// The place that an operation of one key names.
WantedPlace placeOf(Json const& operation);

class Wants {
 public:
  using Random = std::mt19937_64;

  // The client says a write, a remove or a remove-all; other operations change nothing.
  void take(Json const& operation);
  std::size_t size() const { return writes_.size(); }
  // All of it as writes, in the order of tables, so that what others depend on comes first.
  std::vector<Json> writes() const;
  // What store and image shall hold: all but what must fail.
  Wishes wishes() const;

  // The client changes its mind while the agent is away: one of `in` writes is not wanted any more, or is
  // wanted with other contents. Both tell of how many; those that must fail stay as they are.
  std::size_t forget(Random& random, std::uint32_t in);
  std::size_t change(Random& random, std::uint32_t in);
  // Nothing of the unit is wanted any more.
  std::size_t forgetUnit(std::size_t table, Asic::UnitId unit);

 private:
  std::map<WantedPlace, Json> writes_;
};

}  // namespace Inlif
