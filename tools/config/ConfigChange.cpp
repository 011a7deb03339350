#include "tools/config/ConfigChange.h"

#include <fmt/format.h>

#include <algorithm>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelConfigShoalEntry;

// The interfaces that an earlier life, or another process, has left in the store. What cannot be read does not stand:
// the agent that opens the unit makes it anew.
WantedInterfaces standingInStore() {
  WantedInterfaces standing;
  for (std::uint32_t table = 0; table < kTables; ++table) {
    Shoal::SteadyReader<InLifModelConfigShoalEntry> entries(tables()[table].configPath(kConfigUnit));
    if (!entries.ready()) continue;
    walk(entries, [&](InLifModelConfigShoalEntry const& record) {
      if (record.isDeleted) return true;
      auto one = interfaceOf(table, {record.tableEntry, record.rsrcKeys});
      if (one) standing.push_back(std::move(*one));
      return true;
    });
  }
  std::ranges::sort(standing, {}, &WantedInterface::place);
  return standing;
}

// Both are in the order of places.
void compare(WantedInterfaces const& standing, std::vector<EntryPlace> const& failed, ConfigChange& change) {
  auto old = standing.begin();
  auto const passOld = [&] {
    ++change.tables[old->place.table].removed;
    change.removals.push_back(*old++);
  };
  for (std::uint32_t i = 0; i < change.wanted.size(); ++i) {
    WantedInterface const& one = change.wanted[i];
    while (old != standing.end() && old->place < one.place) passOld();
    bool const stands = old != standing.end() && old->place == one.place;
    bool const isSame = stands && *old == one;
    if (stands) ++old;
    if (isSame && !std::ranges::binary_search(failed, one.place)) continue;
    change.writes.push_back(i);
    if (stands && !isSame) change.changed.push_back(i);
  }
  while (old != standing.end()) passOld();
  for (WantedInterface const& one : standing) ++change.tables[one.place.table].standing;
}

}  // namespace

Pivot::Status changeOf(ConfigQuestion const& question, ConfigChange& change) {
  SwitchConfig config;
  Pivot::Status status = SwitchConfig::read(question.file, config, question.mostBytes);
  if (!status.isOk()) return status;
  WantedInterfaces inStore;
  if (!question.standing) inStore = standingInStore();
  ConfigChange found;
  found.wanted = wantedInterfaces(config);
  compare(question.standing ? *question.standing : inStore, question.failed, found);
  change = std::move(found);
  return status;
}

Json ConfigChange::line(std::size_t index) const {
  bool const goes = index < removals.size();
  std::uint32_t const write = goes ? 0 : writes[index - removals.size()];
  WantedInterface const& one = goes ? removals[index] : wanted[write];
  char const* const does = goes ? "remove" : std::ranges::binary_search(changed, write) ? "change" : "add";
  return {{"does", does},
          {"interface", one.name()},
          {"table", Inlif::tables()[one.place.table].name},
          {"key", one.place.key}};
}

Json ConfigChange::counts() const {
  return {{"added", writes.size() - changed.size()},
          {"changed", changed.size()},
          {"removed", removals.size()},
          {"unchanged", wanted.size() - writes.size()}};
}

// Of one table, not of all: a misspelt table name takes all of one kind away, which may be a small part of the whole.
Pivot::Status ConfigChange::checkRemoval(std::string const& file, unsigned percent) const {
  for (std::size_t i = 0; i < kTables; ++i) {
    auto const& [standing, removed] = tables[i];
    if (removed <= ConfigLimits::kFewRemoved || removed * 100 <= percent * standing) continue;
    return Pivot::Status::refused(fmt::format(
        "{}: would remove {} of {} interfaces of {}, {} percent, which is more than the limit of {}; "
        "nothing was changed. `inlif config --plan` tells which, with --force they go",
        file, removed, standing, Inlif::tables()[i].name, removed * 100 / standing, percent));
  }
  return Pivot::Status::ok();
}

}  // namespace Inlif
