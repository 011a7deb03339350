// Interfaces of a store by their names, and names by the places of entries. Read-only, with an agent or without one.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/Selection.h"

namespace Inlif {

// The names of entries that stand or are not yet cleaned away, looked up as they are needed.
class Interfaces {
 public:
  // Empty for what is in no configuration of the store, and for an entry about no interface. With `version` that of the
  // record alone: under the same key another interface may have stood before, or stand now.
  std::string nameOf(std::string const& table, Asic::UnitId unit, std::uint32_t key,
                     std::optional<std::uint64_t> version = std::nullopt);
  // Gives each object inside that names an entry, by `table`, `unit` and `key`, the member `interface`; by `version`, too,
  // where it has that.
  void addTo(Json& message);

 private:
  using Config = Shoal::SteadyReader<LoamTunnelNiLib::InLifModelConfigShoalEntry>;
  std::map<std::pair<std::string, Asic::UnitId>, std::unique_ptr<Config>> units_;
};

// "key 7 (Ethernet4)", of an object with the members `key` and perhaps `interface`.
std::string keyText(Json const& place);

// `inlif show interface`: everything that the store tells of an interface. Refused when no entry is about it.
Outcome showInterface(Selection const& selection, std::string const& name);

// Names the store for the process and selects what `options` ask of it. The name of an interface, as the key or alone as
// the table, becomes table, unit and key in `options`. It ends with kWrongCommandLine for what no store can have, a table
// or a number, and with kRefused for what this one does not.
Outcome selectPlace(ShowOptions& options, Selection& out);
// Gives an operation for the agent the table, unit and key of `options` that are given.
void addPlace(ShowOptions const& options, Json& operation);

}  // namespace Inlif
