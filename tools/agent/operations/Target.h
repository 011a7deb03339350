// What an operation is about, as it names it: table, unit and key. Every operation reads them here, so that all refuse the
// same in the same words. Refusals are kept in the reader; what was not read is 0.
#pragma once

#include <optional>

#include "agent/Host.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

using LoamAgent::Host;
using LoamAgent::TableFront;
using LoamAgent::UnitPlace;

// The place of the table that "table" names.
std::size_t tableFrom(ObjectReader& in);
Asic::UnitId unitFrom(ObjectReader& in);
// "key", or another member that names one.
std::uint32_t keyFrom(ObjectReader& in, char const* member = "key");

// A table and a unit.
UnitPlace placeFrom(ObjectReader& in);
// The table of a unit; refused, and null, when the unit has none.
Pivot::Ptr<TableFront::Table> existing(Host& host, UnitPlace const& place, ObjectReader& in);
inline Pivot::Ptr<TableFront::Table> targetFrom(ObjectReader& in, Host& host) {
  return existing(host, placeFrom(in), in);
}

// What a question may narrow down, from the left to the right.
struct Aim {
  std::optional<std::size_t> table;
  std::optional<Asic::UnitId> unit;
  std::optional<std::uint32_t> key;
};
Aim aimFrom(ObjectReader& in);

// The members `table` and `unit` of whatever is told of a unit.
Json placeJson(UnitPlace const& place);

}  // namespace Inlif
