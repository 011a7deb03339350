#include "agent/FailureWatch.h"

#include <algorithm>

namespace LoamAgent {
namespace {

using Clock = std::chrono::steady_clock;

// Rows that are looked at in one turn.
constexpr std::size_t kRowsAtOnce = 256;
// A collection that was replaced by another is noticed after that at the latest.
constexpr std::chrono::seconds kLook{1};

}  // namespace

FailureWatch::FailureWatch() {
  for (std::size_t place = 0; place < tables_.size(); ++place)
    tables_[place].reader = Shoal::SteadyReader<Row>(LoamInLif::groupInfo().tables[place].failuresPath);
}

void FailureWatch::observerDel(FailureObserver* observer) {
  std::erase(observers_, observer);
}

void FailureWatch::tell(void (FailureObserver::*what)(HardwareFailure const&),
                        HardwareFailure const& failure) {
  auto const observers = observers_;
  for (FailureObserver* observer : observers)
    if (std::ranges::find(observers_, observer) != observers_.end()) (observer->*what)(failure);
}

bool FailureWatch::turn() {
  bool more = false;
  bool const look = Clock::now() - lookedAt_ >= kLook;
  if (look) lookedAt_ = Clock::now();
  for (std::size_t place = 0; place < tables_.size(); ++place) {
    Table& table = tables_[place];
    // Without a collection, and while its writer makes it anew, what was known stays.
    if ((look || table.reader.openings() != 0) && table.reader.ready(look)) more |= turn(place);
  }
  return more;
}

bool FailureWatch::turn(std::size_t place) {
  Table& table = tables_[place];
  if (table.walks && table.opening != table.reader.openings()) table.walks = false;
  if (!table.walks) {
    std::uint32_t const counter = table.reader.reader().changeCounter();
    if (table.opening == table.reader.openings() && table.counter == counter) return false;
    table.opening = table.reader.openings();
    table.walkCounter = counter;
    table.walks = true;
    table.at.reset();
    for (auto& [key, known] : table.known) known.isSeen = false;
  }
  Row row;
  for (std::size_t i = 0; i < kRowsAtOnce; ++i) {
    Shoal::Read const read = table.reader.next(table.at ? &*table.at : nullptr, row);
    if (read == Shoal::Read::found) {
      table.at = row.key;
      see(place, row);
      continue;
    }
    table.walks = false;
    if (read == Shoal::Read::absent) endWalk(place);
    // What is damaged stays as it was told last, until the writer has mended it, which is a change; what is busy is looked
    // at again.
    if (read == Shoal::Read::damaged) table.counter = table.walkCounter;
    return read == Shoal::Read::busy;
  }
  return true;
}

void FailureWatch::see(std::size_t place, Row const& row) {
  auto const [at, isNew] = tables_[place].known.try_emplace(row.key);
  Known& known = at->second;
  bool const isTold =
      !isNew && known.row.logVersion == row.logVersion && known.row.failureClass == row.failureClass;
  known = {row, true};
  if (!isTold) tell(&FailureObserver::failed, {place, row});
}

void FailureWatch::endWalk(std::size_t place) {
  Table& table = tables_[place];
  table.counter = table.walkCounter;
  try {
    table.unlisted = table.reader.reader().watermark();
  } catch (Pivot::CorruptionDetectedException const&) {
    // The number known last stays, as the rows do.
  }
  std::vector<Row> gone;
  std::erase_if(table.known, [&](auto const& one) {
    if (!one.second.isSeen) gone.push_back(one.second.row);
    return !one.second.isSeen;
  });
  for (Row const& row : gone) tell(&FailureObserver::recovered, {place, row});
}

std::optional<HardwareFailure> FailureWatch::next(Place const& after) const {
  for (std::size_t place = after.table; place < tables_.size(); ++place) {
    auto const& known = tables_[place].known;
    auto const at = place == after.table && after.key ? known.upper_bound(*after.key) : known.begin();
    if (at != known.end()) return HardwareFailure{place, at->second.row};
  }
  return std::nullopt;
}

}  // namespace LoamAgent
