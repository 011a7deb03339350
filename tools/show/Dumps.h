// The records of the store as `show` prints them: configurations, change logs and images.
//
// Each dump remembers up to which version it has printed a table, so that printing again shows what is new.
// Read-only; a record that is damaged or stays busy is told on standard error, and the dump goes on with the
// next collection.
#pragma once

#include <array>
#include <string_view>

#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/Interfaces.h"
#include "tools/show/Selection.h"

namespace Inlif {

class Dump {
 public:
  // `what` is config, log or image.
  Dump(Selection const& selection, std::string_view what);

  // Prints what is new since the last call. False when some collection could not be read whole.
  bool print();

 private:
  bool config(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  bool log(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  bool image(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;

  Selection const& selection_;
  mutable Interfaces interfaces_;
  bool (Dump::*const printTable_)(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  std::array<std::uint64_t, kTables> printed_{};
};

}  // namespace Inlif
