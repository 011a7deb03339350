// The keys of a round: 0 to count - 1, shuffled anew before each round, so that no case profits from the
// order of the round before. Called by every case; the generator is seeded, so that two runs of one binary
// touch the same keys in the same order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

namespace bench {

class Keys {
 public:
  explicit Keys(std::uint32_t count) : keys_(count) { std::iota(keys_.begin(), keys_.end(), 0U); }

  std::uint32_t count() const { return static_cast<std::uint32_t>(keys_.size()); }
  std::vector<std::uint32_t> const& shuffled() {
    std::shuffle(keys_.begin(), keys_.end(), random_);
    return keys_;
  }

 private:
  std::vector<std::uint32_t> keys_;
  std::mt19937 random_{20240229};
};

}  // namespace bench
