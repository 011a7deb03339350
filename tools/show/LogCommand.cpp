#include "tools/show/LogCommand.h"

#include <fmt/format.h>

#include <deque>

#include "tools/show/Follow.h"
#include "tools/show/LogHistory.h"
#include "tools/show/RecordLine.h"

namespace Inlif {

Outcome runLog(LogOptions const& given) {
  LogOptions options = given;
  Pivot::Status const store = storeIs(options.show.store, false);
  if (store.isOk())
    if (Pivot::Status found = findInterface(options.show.table, options.show.unit, options.show.key);
        !found.isOk())
      return Outcome::refused(std::move(found));
  Selection selection;
  Pivot::Status status = Selection::from(options.show, selection);
  std::uint64_t from = 0;
  if (status.isOk() && !options.from.empty() && !numberFrom(std::string_view(options.from), from)) {
    status = Pivot::Status::refused(
        fmt::format("--from {}: expected a version, a whole number, decimal or 0x...", options.from));
  }
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  if (!store.isOk()) return Outcome::refused(store);
  std::deque<LogHistory> histories;
  for (std::size_t const table : selection.tables) histories.emplace_back(tables()[table], selection, from);
  if (!selection.json) Output(selection.verbose).print(recordHeading());
  auto const print = [&] {
    bool whole = true;
    for (LogHistory& history : histories) whole &= history.print();
    return whole;
  };
  return printAndFollow(print, options.show.follow);
}

}  // namespace Inlif
