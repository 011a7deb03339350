#include <fmt/format.h>

#include <algorithm>

#include "Vex/Text.h"
#include "tools/check/TableCheck.h"

namespace Inlif {

void checkNeeds(StoreContents const& contents, CheckResult& result) {
  for (Asic::NeededRow const& row : contents.needed.records) {
    std::uint64_t const version = row.key.value() & 0xFFFFFFFFFFFF;
    auto const tell = [&](std::string what) {
      result.findings.push_back({neededPath(), fmt::format("table {:04x}", row.key.value() >> 48), version,
                                 std::move(what), neededPath()});
    };
    auto const own = std::ranges::find_if(
        tables(), [&](TableInfo const& info) { return info.id.tblId() == row.key.value() >> 48; });
    if (own == tables().end()) {
      tell("no such table");
      continue;
    }
    auto const& log = contents.tables[static_cast<std::size_t>(own - tables().begin())].log;
    if (log.report.whole() && std::ranges::none_of(log.records, [&](auto const& record) {
          return record.logVersion.value() == version;
        }))
      tell("needed versions without a log record: they stay for ever");
    bool ended = false;
    for (Asic::TableVersion const& need : row.needs) {
      if (need.logVersion().value() == 0) {
        ended = true;
        continue;
      }
      auto const announced = contents.announcedVersion(need.tableId());
      if (ended || need.tableId() == own->id || tableIndex(need.tableId()) == kTables)
        tell(fmt::format("the need {} is none", need));
      else if (announced && need.logVersion().value() > *announced)
        tell(fmt::format("the need {} is ahead of what was announced, {}", need, *announced));
    }
  }
}

}  // namespace Inlif
