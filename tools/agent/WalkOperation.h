// The operation `walk`: the entries of one table and unit in the order of their keys, a line each, and their
// count. docs/json-protocol.md is the protocol.
//
// The answer is given in steps, one for each turn of the agent's loop and none longer than kStep, so that a
// large table does not keep the others waiting. Operations owns the one object. On the agent's one thread.
#pragma once

#include <chrono>
#include <list>
#include <optional>

#include "tools/agent/Outlet.h"
#include "tools/agent/TableFront.h"

namespace Inlif {

class WalkOperation {
 public:
  using Table = Pivot::Ptr<TableFront::Table>;
  static constexpr std::chrono::microseconds kStep{1000};

  // `outlet` outlives the operation.
  explicit WalkOperation(Outlet& outlet) : outlet_(outlet) {}

  // Begins at `from`, or at the first entry, and ends after `limit` entries.
  void begin(ChannelNumber channel, Json const& id, Table const& table, std::optional<std::uint32_t> from,
             std::uint64_t limit);
  // One step of each answer under way; returns how many were ended by it.
  std::size_t turn();
  bool busy() const { return !walks_.empty(); }
  bool holds(ChannelNumber channel) const;
  void channelGone(ChannelNumber channel);
  void close() { walks_.clear(); }

 private:
  struct Walk {
    ChannelNumber channel;
    Json id;
    Table table;  // outlives the state below, which points to it
    Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> state;
    std::uint64_t left;
    std::uint64_t count = 0;
  };

  bool step(Walk& walk);

  Outlet& outlet_;
  std::list<Walk> walks_;
};

}  // namespace Inlif
