#include "tools/agent/operations/Target.h"

#include <fmt/format.h>

#include "tools/support/Tables.h"

namespace Inlif {

std::size_t tableFrom(ObjectReader& in) {
  std::size_t table = 0;
  std::string_view const name = in.text("table");
  if (!in.isOk()) return table;
  Pivot::Status const status = tableIndex(name, table);
  if (!status.isOk()) in.refuse(status.message());
  return table;
}

Asic::UnitId unitFrom(ObjectReader& in) {
  return static_cast<Asic::UnitId>(in.number("unit", UINT16_MAX - 1));
}

std::uint32_t keyFrom(ObjectReader& in, char const* member) {
  return static_cast<std::uint32_t>(in.number(member, UINT32_MAX));
}

UnitPlace placeFrom(ObjectReader& in) {
  std::size_t const table = tableFrom(in);
  return {table, unitFrom(in)};
}

Pivot::Ptr<TableFront::Table> existing(Host& host, UnitPlace const& place, ObjectReader& in) {
  if (!in.isOk()) return nullptr;
  Pivot::Ptr<TableFront::Table> table = host.front(place.table).table(place.unit);
  if (!table) {
    in.refuse(fmt::format("{} has no unit {}; expected one that the operation unit has made",
                          place.tableName(), place.unit));
  }
  return table;
}

Aim aimFrom(ObjectReader& in) {
  Aim aim;
  if (in.has("table")) aim.table = tableFrom(in);
  if (in.has("unit")) aim.unit = unitFrom(in);
  if (in.isOk() && aim.unit && !aim.table) in.refuse("'unit' stands alone; expected a 'table' beside it");
  if (in.has("key")) aim.key = keyFrom(in);
  if (in.isOk() && aim.key && !aim.unit) in.refuse("'key' stands alone; expected a 'unit' beside it");
  return aim;
}

Json placeJson(UnitPlace const& place) {
  return {{"table", place.tableName()}, {"unit", place.unit}};
}

}  // namespace Inlif
