// A walk's position in one chain.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "Shoal/ShoalMapBase.h"

namespace Shoal {

struct ShoalMapBase::Cursor {
  std::atomic<std::uint64_t>* link =
      nullptr;                   // the word that leads on; null where a directory page has no frame
  std::uint64_t word = 0;        // what it held
  std::uint32_t slot = kNoSlot;  // where it leads; kNoSlot at the end
  alignas(16) std::byte key[kMaxKeyBytes];  // of that slot
};

}  // namespace Shoal
