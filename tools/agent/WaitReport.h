// What the operations in the resolver's queues wait for, as JSON: the operation `why` is made of it.
//
// It reads what the last question to an operation left behind, in its wrapper, its dependency and its log, and
// asks nobody anew: no resource is requested, and no operation commits for it. What an operation waits for may
// itself wait; the report follows that to its root. Such a chain ends: each step leads to an operation that
// was accepted earlier. Heads are described once and remembered until forget(). On the agent's one thread.
#pragma once

#include <unordered_map>

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
  // The causes at the root of all queues, each with the operations that it holds up, most first, at most
  // `limit` of them. An operation counts once: under what the head of its queue waits for first.
  Json summary(std::size_t limit);

  // Things may have moved: no description of a head is good any more.
  void forget() { heads_.clear(); }

 private:
  Json causes(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);
  Json const& head(Asic::OrderedSwTable const& table);
  Json dependencyCause(Asic::DependencyEntryHandle const& dependency);
  Json roomCause(Asic::OrderedSwTable const& table, std::string const& room);
  Json root(Asic::GroupResolver::Head head);

  Host& host_;
  std::unordered_map<Asic::OrderedSwTable const*, Json> heads_;
};

// The key that an operation of a queue is on; absent for a remove-all.
std::optional<std::uint32_t> queuedKey(Asic::OrderedSwTable const& table, Asic::ResolverEntry const& entry);

}  // namespace Inlif
