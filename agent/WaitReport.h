// What the operations in the resolver's queues wait for: the answer to the question why nothing happens.
//
// It reads what the last question to an operation left behind, in its wrapper, its dependency and its log, and
// asks nobody anew: no resource is requested, and no operation commits for it. What an operation waits for may
// itself wait; the report follows that to its root. Such a chain ends: each step leads to an operation that
// was accepted earlier. Heads are described once and remembered until forget(). On the agent's one thread.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Asic/EntryState.h"
#include "Asic/GroupResolver.h"
#include "Asic/LogVersion.h"
#include "Asic/OrderedSwTable.h"
#include "agent/Host.h"

namespace LoamAgent {

// One of the queued operations, as far as it names itself.
struct QueuedOperation {
  enum class Does { write, remove, removeAll };

  UnitPlace place;
  Does does = Does::write;
  std::optional<std::uint32_t> key;  // absent for a remove-all
};
QueuedOperation queuedOperation(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);

// The causes, each with what tells when it ends.
struct WaitsForQueue {  // for those before it in its own queue
  auto operator<=>(WaitsForQueue const&) const = default;
};
struct WaitsForRoom {  // for clean-up to make some, behind the writer of the hardware
  UnitPlace place;
  std::string why;
  Asic::LogVersion cleaned;
  Asic::LogVersion written;
  auto operator<=>(WaitsForRoom const&) const = default;
};
struct WaitsForResource {
  std::size_t kind = 0;        // of LoamInLif::Kinds
  std::vector<std::byte> key;  // of the kind's key type, byte for byte
  Asic::EntryState state = Asic::EntryState::entryStateUnresolved;
  auto operator<=>(WaitsForResource const&) const = default;
};
struct WaitsForOperation {         // for its dependency
  std::optional<UnitPlace> place;  // absent where the table is none of ours, or has ended
  std::string tableName;
  std::uint32_t key = 0;  // with a place
  Asic::EntryState state = Asic::EntryState::entryStateUnresolved;
  auto operator<=>(WaitsForOperation const&) const = default;
};
struct WaitsForTurn {  // for the agent's next turn, and nothing else
  auto operator<=>(WaitsForTurn const&) const = default;
};

struct WaitingOperation;

struct WaitCause {
  std::variant<WaitsForTurn, WaitsForQueue, WaitsForRoom, WaitsForResource, WaitsForOperation> what;
  // Of a queue and an operation that stands in one: the head there. It is the same object for all that it holds up,
  // until forget().
  std::shared_ptr<WaitingOperation const> heldUpBy;
  auto operator<=>(WaitCause const&) const = default;
};

struct WaitingOperation : QueuedOperation {
  std::uint64_t ageNanoseconds = 0;
  std::uint64_t asked = 0;
  std::vector<WaitCause> waitsFor;  // never empty
};

class WaitReport {
 public:
  explicit WaitReport(Host& host) : host_(host) {}

  // One operation of the queue of `table`.
  WaitingOperation operation(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);
  // What a head waits for first, at the root: heads that depend on operations behind other heads are followed to
  // the one that waits for something else. Nothing holds that up.
  WaitCause root(Asic::GroupResolver::Head head);

  // Things may have moved: no description of a head is good any more.
  void forget() { heads_.clear(); }

 private:
  void addCauses(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry,
                 std::vector<WaitCause>& causes);
  std::shared_ptr<WaitingOperation const> const& head(Asic::OrderedSwTable const& table);
  WaitCause dependencyCause(Asic::DependencyEntryHandle const& dependency);
  WaitCause roomCause(Asic::OrderedSwTable const& table, std::string const& why);

  Host& host_;
  std::unordered_map<Asic::OrderedSwTable const*, std::shared_ptr<WaitingOperation const>> heads_;
};

// The causes at the roots of queues, with the operations that each holds up.
class CauseCounts {
 public:
  struct Cause {
    std::size_t operations = 0;
    std::size_t queues = 0;
    std::uint64_t oldestNanoseconds = 0;
    WaitCause cause;
    QueuedOperation first;  // the head that came first
  };

  // The operations of a queue count under what its head waits for.
  void add(Asic::GroupResolver::Head const& head, WaitCause cause);
  // The causes that hold up most operations, most first, among equals in the order in which they came; at most
  // `limit` of them.
  std::vector<Cause> most(std::size_t limit) const;

 private:
  std::vector<Cause> causes_;
  std::map<WaitCause, std::size_t> places_;  // of the causes
};

}  // namespace LoamAgent
