#include "tools/dump/LoadCommand.h"

#include <fmt/format.h>

#include "Shoal/StoreRoot.h"
#include "tools/dump/Load.h"
#include "tools/show/Selection.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

// Looks at every line before anything is done, and tells of the wrong ones. Returns how many lines there are.
Pivot::Status lookThrough(DumpReader& reader, LoadResult& result, std::size_t& lines) {
  DumpLine line;
  Pivot::Status status = Pivot::Status::ok();
  while (reader.next(line, status)) {
    lines = line.number;
    if (!status.isOk()) result.refuse(line.number, status.message());
  }
  reader.rewind();
  if (result.failed == 0) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("load: {}: {} wrong lines; nothing was written", reader.name(), result.failed));
}

// An agent that serves what stands in a store has clients, who say what is to stay.
Pivot::Status isEmpty() {
  std::size_t records = 0;
  Selection all;
  for (std::size_t i = 0; i < kTables; ++i) all.tables.push_back(i);
  bool whole = true;
  for (TableInfo const& table : tables())
    whole &= all.walkConfigs(table, [&records](Asic::UnitId, auto const&) { ++records; });
  if (whole && records == 0) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("load: no agent runs on the store, which holds {} entries; expected an agent that runs, or "
                  "an empty store",
                  records));
}

void printRefusals(DumpReader const& reader, LoadResult const& result, bool json) {
  for (LoadResult::Refusal const& refusal : result.refusals) {
    if (json)
      fmt::print("{}\n", jsonText(Json{{"line", refusal.line}, {"refused", refusal.why}}));
    else
      Output(true).print({fmt::format("{}:{}: {}", reader.name(), refusal.line, refusal.why)});
  }
  if (!json && result.failed > result.refusals.size())
    fmt::print("... and {} lines more\n", result.failed - result.refusals.size());
}

void print(DumpReader const& reader, LoadResult const& result, bool json) {
  printRefusals(reader, result, json);
  if (json) {
    fmt::print("{}\n", jsonText(Json{{"file", reader.name()},
                                     {"unitCount", result.units},
                                     {"entries", result.entries},
                                     {"failed", result.failed},
                                     {"onTheirWay", result.onTheirWay}}));
    return;
  }
  std::string text = fmt::format("{}: {} units, {} entries, {} failed", reader.name(), result.units,
                                 result.entries, result.failed);
  if (result.onTheirWay != 0) text += fmt::format("; {} on their way to the hardware", result.onTheirWay);
  Output(true).print({text});
}

}  // namespace

void LoadResult::refuse(std::size_t line, std::string why) {
  if (++failed <= kMostTold) refusals.push_back({line, std::move(why)});
}

Outcome runLoad(LoadOptions const& options) {
  DumpReader reader;
  LoadResult result;
  std::size_t lines = 0;
  Pivot::Status status = reader.open(options.file);
  if (status.isOk()) {
    status = lookThrough(reader, result, lines);
    if (!status.isOk()) printRefusals(reader, result, options.json);
  }
  if (status.isOk()) status = storeIs(options.store, true);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  bool const hasAgent = StoreRoot::holder(StoreRoot::Role::agent).alive;
  if (!hasAgent) status = isEmpty();
  if (!status.isOk()) return Outcome::noAnswer(std::move(status));
  Outcome outcome;
  {
    Progress progress("load", "lines", lines);
    outcome = hasAgent ? loadIntoAgent(options.store, reader, result, progress)
                       : loadIntoStore(reader, result, progress);
  }
  print(reader, result, options.json);
  return outcome.isWell() && result.failed > 0 ? Outcome::done(kFound) : outcome;
}

}  // namespace Inlif
