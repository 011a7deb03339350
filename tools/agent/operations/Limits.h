// How much of the agent's memory its channels may take, one and all together; docs/json-protocol.md tells clients
// what happens at each. A channel that is at a limit is not read until it has room again: nothing is failed.
#pragma once

#include <algorithm>
#include <cstddef>

namespace Inlif {

inline constexpr std::size_t kKiB = 1024;
inline constexpr std::size_t kMiB = 1024 * kKiB;

// What all channels hold of one thing. One of them may hold as much as is still free, at most its own limit and at
// least a little: those who leave nothing to others do not silence them.
class Pool {
 public:
  constexpr Pool(std::size_t mostOfOne, std::size_t mostOfAll, std::size_t leastOfOne)
      : mostOfOne_(mostOfOne), mostOfAll_(mostOfAll), leastOfOne_(leastOfOne) {}

  // What one channel may hold now.
  std::size_t ofOne() const {
    return std::clamp(mostOfAll_ - std::min(held_, mostOfAll_), leastOfOne_, mostOfOne_);
  }
  void change(std::size_t from, std::size_t to) { held_ = held_ - from + to; }

 private:
  std::size_t const mostOfOne_;
  std::size_t const mostOfAll_;
  std::size_t const leastOfOne_;
  std::size_t held_ = 0;
};

// Ids of operations that have ended and may still be named, of one channel that has the agent to itself.
inline constexpr std::size_t kMostRemembered = 65'536;

struct Pools {
  Pool input{1 * kMiB, 32 * kMiB, 4 * kKiB};    // bytes that are not yet a whole line, or not yet done
  Pool output{4 * kMiB, 64 * kMiB, 16 * kKiB};  // bytes that the peer has not taken
  Pool underWay{65'536, 131'072, 16};           // operations that were accepted and have not ended
  Pool remembered{kMostRemembered, 131'072, 16};
};

// Of an id, as JSON.
inline constexpr std::size_t kMostId = 128;
// Of the text of a refusal, which may hold what the client sent.
inline constexpr std::size_t kMostRefusal = 1 * kKiB;
// Connections at a time: half of the descriptors that are not kept for logs, resources and the agent itself, so that
// the other half is left for units; fewer than kLeastDescriptors let no agent start.
inline constexpr std::size_t kMostConnections = 512;
inline constexpr std::size_t kDescriptorsKept = 64;
inline constexpr std::size_t kLeastDescriptors = 128;

// What all of it takes at most, beside what stands in the tables: what an operation under way and an id that is
// remembered take is measured.
inline constexpr std::size_t kMostMemory = 450 * kMiB;

}  // namespace Inlif
