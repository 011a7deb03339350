#include "tools/show/LogCommand.h"

#include <fmt/format.h>

#include <deque>

#include "tools/show/Follow.h"
#include "tools/show/LogHistory.h"
#include "tools/show/RecordLine.h"

namespace Inlif {

Outcome runLog(LogOptions const& given) {
  LogOptions options = given;
  std::uint64_t from = 0;
  if (!options.from.empty() && !numberFrom(std::string_view(options.from), from)) {
    return Outcome::wrong(Pivot::Status::refused(
        fmt::format("--from {}: expected a version, a whole number, decimal or 0x...", options.from)));
  }
  Selection selection;
  if (Outcome selected = selectPlace(options.show, selection); !selected.isWell()) return selected;
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
