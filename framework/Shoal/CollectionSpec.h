// What a mount asks for: the place of one collection, who owns it, and how much it takes.
#pragma once

#include <cstdint>
#include <string>

#include "Shoal/StoreRoot.h"

namespace Shoal {

struct CollectionSpec {
  std::string path;            // relative to the root, components separated by '/'
  std::uint32_t maximum = 0;   // records that the client declared
  std::uint32_t capacity = 0;  // records that the store takes; 0 = maximum
  VexSharedMem::StoreRoot::Role role = VexSharedMem::StoreRoot::Role::agent;
};

}  // namespace Shoal
