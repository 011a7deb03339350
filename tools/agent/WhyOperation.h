// The operation `why`: what the waiting operations wait for, one line for each in the order of their queues,
// or the causes with their counts. docs/json-protocol.md is the protocol.
//
// A long answer is given in steps, one for each turn of the agent's loop and none longer than kStep, so that
// 65,536 waiting operations do not keep the others waiting. An operation that is queued and stays queued
// while its queue is gone through is told once. Operations owns the one object. On the agent's one thread.
#pragma once

#include <chrono>
#include <list>
#include <optional>
#include <vector>

#include "tools/agent/Host.h"
#include "tools/agent/Outlet.h"
#include "tools/agent/WaitReport.h"

namespace Inlif {

class WhyOperation {
 public:
  static constexpr std::chrono::microseconds kStep{1000};

  // Both outlive the operation.
  WhyOperation(Host& host, Outlet& outlet) : host_(host), outlet_(outlet), report_(host) {}

  // Reads the members. Returns true when the answer is complete, in `answer`; otherwise it was refused, with
  // the refusal in the reader, or comes over the next turns.
  bool begin(ChannelNumber channel, Json const& id, ObjectReader& in, Json& answer);
  // One step of each answer under way; returns how many were ended by it.
  std::size_t turn();
  bool busy() const { return !walks_.empty(); }
  bool holds(ChannelNumber channel) const;
  void channelGone(ChannelNumber channel);
  void close() { walks_.clear(); }

 private:
  using Table = Pivot::Ptr<TableFront::Table>;

  struct Walk {
    ChannelNumber channel;
    Json id;
    std::vector<Table> queues;  // those still to be gone through, the present one last
    std::optional<std::uint32_t> key;
    std::uint64_t lastSequence;            // what is queued later is not told: the answer comes to an end
    Pivot::Ptr<Asic::ResolverEntry> last;  // of the present queue
    std::uint64_t count = 0;
  };

  std::vector<Table> selected(ObjectReader& in) const;
  bool step(Walk& walk);

  Host& host_;
  Outlet& outlet_;
  WaitReport report_;
  std::list<Walk> walks_;
};

}  // namespace Inlif
