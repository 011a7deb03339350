#include "tools/show/LogCommand.h"

#include <fmt/format.h>

#include <deque>

#include "tools/show/Follow.h"
#include "tools/show/LogHistory.h"

namespace Inlif {

Outcome runLog(LogOptions const& options) {
  Selection selection;
  Pivot::Status status = Selection::from(options.show, selection);
  std::uint64_t from = 0;
  if (status.isOk() && !options.from.empty() && !numberFrom(std::string_view(options.from), from)) {
    status = Pivot::Status::refused(
        fmt::format("--from {}: expected a version, a whole number, decimal or 0x...", options.from));
  }
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.show.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  std::deque<LogHistory> histories;
  for (std::size_t const table : selection.tables) histories.emplace_back(tables()[table], selection, from);
  auto const print = [&] {
    bool whole = true;
    for (LogHistory& history : histories) whole &= history.print();
    return whole;
  };
  return printAndFollow(print, options.show.follow);
}

}  // namespace Inlif
