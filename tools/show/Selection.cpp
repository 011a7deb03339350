#include "tools/show/Selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace Inlif {
namespace {

template <class Number>
Pivot::Status placeNumber(char const* name, std::string const& text, std::uint64_t most,
                          std::optional<Number>& out, char const* more = "") {
  if (text.empty()) return Pivot::Status::ok();
  std::uint64_t number = 0;
  if (!numberFrom(std::string_view(text), number) || number > most) {
    return Pivot::Status::refused(fmt::format(
        "{} {}: expected a whole number from 0 to {}, decimal or 0x...{}", name, text, most, more));
  }
  out = static_cast<Number>(number);
  return Pivot::Status::ok();
}

}  // namespace

bool endedWell(Shoal::Read end, std::string const& path, std::string const& problem) {
  if (end == Shoal::Read::busy) printAside("inlif: {}: stays busy; ask again\n", path);
  if (end == Shoal::Read::damaged) printAside("inlif: {}: {}\n", path, problem);
  return end == Shoal::Read::absent || end == Shoal::Read::found;
}

char const* doingOf(LoamTunnelNiLib::InLifModelLogShoalEntry const& record) {
  return record.isTableDeleted() ? "removeAll" : record.isEntryDeleted() ? "remove" : "write";
}

Json needsOf(Shoal::SteadyReader<Asic::NeededRow>& needed, TableInfo const& table, std::uint64_t version) {
  Json needs = Json::object();
  Asic::NeededRow row;
  if (!needed.ready() || needed.lookup({table.id, Asic::LogVersion(version)}, row) != Shoal::Read::found)
    return needs;
  for (Asic::TableVersion const& need : row.needs) {
    std::size_t const other = tableIndex(need.tableId());
    if (need.logVersion().value() != 0 && other < kTables)
      needs[tables()[other].name] = need.logVersion().value();
  }
  return needs;
}

Pivot::Status Selection::from(ShowOptions const& options, Selection& out) {
  out.json = options.json;
  out.verbose = options.verbose;
  if (options.table.empty()) {
    for (std::size_t i = 0; i < kTables; ++i) out.tables.push_back(i);
  } else {
    std::size_t index = 0;
    Pivot::Status status = tableIndex(options.table, index);
    if (!status.isOk()) return status;
    out.tables.push_back(index);
  }
  Pivot::Status status = placeNumber("unit", options.unit, Asic::kMostUnit, out.unit);
  if (status.isOk())
    status = placeNumber("key", options.key, UINT32_MAX, out.key, ", or the name of an interface");
  return status;
}

Pivot::Status Selection::unitIsThere() const {
  auto const has = [this](std::size_t table) {
    return std::ranges::binary_search(Inlif::tables()[table].units(), *unit);
  };
  if (!unit || std::ranges::any_of(tables, has)) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--unit {}: none of the tables asked for has this unit in the store", *unit));
}

}  // namespace Inlif
