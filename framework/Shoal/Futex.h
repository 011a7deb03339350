// Sleeping on a 32-bit word of shared memory until its owner wakes the sleepers. Waiting needs read access
// only.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace Shoal {

// Returns when woken, when the word does not hold `seen`, after `timeout`, or for no reason: the caller looks
// again.
void futexWait(std::atomic<std::uint32_t> const& word, std::uint32_t seen, std::chrono::milliseconds timeout);

void futexWakeAll(std::atomic<std::uint32_t>& word);

}  // namespace Shoal
