// What the operations in the resolver's queues wait for, as JSON: the operation `why` is made of it.
//
// It reads what the last question to an operation left behind, in its wrapper, its dependency and its log, and
// asks nobody anew: no resource is requested, and no operation commits for it. What an operation waits for may
// itself wait; the report follows that to its root. Such a chain ends: each step leads to an operation that
// was accepted earlier. Heads are described once and remembered until forget(). On the agent's one thread.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Asic/GroupResolver.h"
#include "Asic/OrderedSwTable.h"
#include "tools/agent/Host.h"

namespace Inlif {

class WaitReport {
 public:
  explicit WaitReport(Host& host) : host_(host) {}

  // One operation of the queue of `table`: its name, age, how often it was asked, and under "waitsFor" each
  // cause with what would end it. docs/json-protocol.md has the members.
  Json operation(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);
  // What a head waits for first, at the root: heads that depend on operations behind other heads are followed to
  // the one that waits for something else.
  Json root(Asic::GroupResolver::Head head);

  // Things may have moved: no description of a head is good any more.
  void forget() { heads_.clear(); }

 private:
  Json causes(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);
  Json const& head(Asic::OrderedSwTable const& table);
  Json dependencyCause(Asic::DependencyEntryHandle const& dependency);
  Json roomCause(Asic::OrderedSwTable const& table, std::string const& room);

  Host& host_;
  std::unordered_map<Asic::OrderedSwTable const*, Json> heads_;
};

// The causes at the roots of queues, with the operations that each holds up.
class CauseCounts {
 public:
  // The operations of a queue count under what its head waits for.
  void add(Asic::GroupResolver::Head const& head, Json cause);
  // The causes that hold up most operations, most first, among equals in the order in which they came; at most
  // `limit` of them.
  Json most(std::size_t limit) const;

 private:
  struct Cause {
    std::size_t operations;
    std::size_t queues;
    std::uint64_t oldestMs;
    Json cause;
    Json first;  // the name of the head that came first
  };

  std::vector<Cause> causes_;
  std::unordered_map<std::string, std::size_t> places_;  // of the causes, by their text
};

// The key that an operation of a queue is on; absent for a remove-all.
std::optional<std::uint32_t> queuedKey(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);

}  // namespace Inlif
