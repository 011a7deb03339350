// What the hardware did not take, as the agent sees it: the failures of the writer, watched, and observers told of each
// change.
//
// The host owns the one object and gives it a turn in each of its own. While nothing has changed a turn costs a load for
// each table; the wait for it is that for the reports, with which the writer wakes. A collection that has changed is gone
// through a little in each turn, so that thousands of rows hold nobody up. On the agent's one thread.
#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <map>
#include <optional>
#include <vector>

#include "LoamInLif/Tables.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "Shoal/SteadyReader.h"

namespace LoamAgent {

// An entry, or a unit, of one of the tables, and what is wrong with it in the hardware.
struct HardwareFailure {
  std::size_t table = 0;
  LoamTunnelNiLib::InLifFailureRow row;

  std::string const& tableName() const { return LoamInLif::groupInfo().tables[table].name; }
};

// Who is told of what the hardware does not take.
class FailureObserver {
 public:
  virtual ~FailureObserver() = default;
  // The hardware did not take it, or refuses another version of it now, or for another reason; told also of what an agent
  // finds at its start.
  virtual void failed(HardwareFailure const& failure) = 0;
  // It stands there now, or nobody wants it any more. `failure` is what was told last.
  virtual void recovered(HardwareFailure const& failure) = 0;
};

class FailureWatch {
 public:
  using Key = LoamTunnelNiLib::InLifFailureKey;
  using Row = LoamTunnelNiLib::InLifFailureRow;

  FailureWatch();

  // Has an observer told of what changes from now on. It outlives the watch, or is removed; it may add and remove observers, itself too, while it is told.
  void observerAdd(FailureObserver* observer) { observers_.push_back(observer); }
  void observerDel(FailureObserver* observer);

  // Returns whether there is more to do at once.
  bool turn();
  // How many rows are known of a table, and how many refusals found no room for one.
  std::size_t count(std::size_t table) const { return tables_[table].known.size(); }
  std::uint64_t unlisted(std::size_t table) const { return tables_[table].unlisted; }
  // The first row behind a place, in the order of table and key; none: there are no more. The place of the first is
  // {table, nothing}.
  struct Place {
    std::size_t table = 0;
    std::optional<Key> key;
  };
  std::optional<HardwareFailure> next(Place const& after) const;

 private:
  struct Known {
    Row row;
    bool isSeen = false;  // by the walk that is under way
  };
  struct Table {
    Shoal::SteadyReader<Row> reader{""};
    std::map<Key, Known> known;
    std::uint64_t unlisted = 0;
    std::optional<std::uint32_t> counter;  // of the collection, when a walk began that came to its end
    unsigned opening = 0;                  // to which it belongs
    bool walks = false;
    std::uint32_t walkCounter = 0;
    std::optional<Key> at;  // where the walk is
  };

  bool turn(std::size_t place);
  void see(std::size_t place, Row const& row);
  void endWalk(std::size_t place);
  void tell(void (FailureObserver::*what)(HardwareFailure const&), HardwareFailure const& failure);

  std::array<Table, LoamInLif::kTables> tables_;
  std::vector<FailureObserver*> observers_;
  std::chrono::steady_clock::time_point lookedAt_{};  // whether a collection was replaced
};

}  // namespace LoamAgent
