// The records of the store as `show` prints them: configurations, change logs and images.
//
// Each dump remembers up to which version it has printed a table, so that printing again shows what is new.
// People read entries sorted by unit and key, records by version; programs get entries in the order of the store.
// Read-only; a record that is damaged or stays busy is told on standard error, and the dump goes on with the
// next collection.
#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/Interfaces.h"
#include "tools/show/Selection.h"
#include "tools/support/Text.h"

namespace Inlif {

class Dump {
 public:
  // `what` is config, log or image.
  Dump(Selection const& selection, std::string_view what);

  // Prints what is new since the last call. False when some collection could not be read whole.
  bool print();

 private:
  // Standing entries in the order of their units and keys, for people.
  using Sorted = std::map<std::pair<Asic::UnitId, std::uint32_t>, Line>;

  // Prints an entry, or puts it in its place. `what` is its line's last cell.
  void take(Json const& entry, std::string what, Sorted& sorted) const;
  bool config(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  bool log(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  bool image(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;

  Selection const& selection_;
  Output const output_;
  mutable Interfaces interfaces_;
  bool (Dump::*const printTable_)(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) const;
  std::array<std::uint64_t, kTables> printed_{};
};

}  // namespace Inlif
