// Compares, entry by entry, what a client wanted, what the store holds and what the image of the hardware
// holds.
//
// An entry of the store must have the wanted client bytes and resource keys, and for each resource the value
// that its table holds for that key, or the default where no resource is asked for. (In a store without
// resource tables the value must at least be the same wherever the key is used.) No table may hold one index
// for two keys. An entry of the image must equal that of the store, but for one that the failures of the
// hardware name at its version: that one the hardware does not have. Equality is isEq throughout. Reads the store beside
// running processes, which must have come to rest.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "tools/support/Tables.h"

namespace Inlif {

struct WantedPlace {
  std::size_t table = 0;
  Asic::UnitId unit = 0;
  std::uint32_t key = 0;

  friend auto operator<=>(WantedPlace const&, WantedPlace const&) = default;
};
using Wishes = std::map<WantedPlace, LoamTunnelNiLib::InLifModelEntry>;

struct ComparisonResult {
  std::size_t wanted = 0;
  std::size_t stored = 0;
  std::size_t inImage = 0;
  std::size_t refused = 0;  // of the stored ones, by the hardware
  std::size_t differences = 0;
  std::vector<std::string> examples;  // of differences, at most ten

  bool equal() const { return differences == 0; }
};

ComparisonResult compareAll(Wishes const& wishes);

}  // namespace Inlif
