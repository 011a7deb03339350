// The agent's operation `inspect`: reads, counts and walks what the records of the process show, and changes it
// or calls it when the operation says so in as many words. docs/json-protocol.md is the protocol.
//
// The agent's operations own one. An inspection is done in steps, a slice of each turn of the agent's loop, and
// holds its channel until it is answered; it waits while the channel has much unsent. Only what an operation of
// a class does is done in one go. On the agent's one thread.
#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <vector>

#include "tools/agent/Outlet.h"
#include "tools/inspect/PathWalk.h"
#include "tools/inspect/TreeWalk.h"
#include "tools/inspect/Values.h"

namespace Inlif {

class Inspections {
 public:
  using Clock = std::chrono::steady_clock;

  // The outlet outlives the inspections.
  explicit Inspections(Outlet& outlet) : outlet_(outlet) {}

  // Reads the rest of an operation, and begins it unless something in it was refused.
  void begin(ChannelNumber channel, Json const& id, ObjectReader& in, std::vector<Root> roots);
  bool holds(ChannelNumber channel) const;
  void channelGone(ChannelNumber channel);
  void clear() { running_.clear(); }
  // Goes on with all for a slice of time. Returns whether there is more to do at once.
  bool turn();
  // When one that waits for its channel is to be asked again; the far future without one.
  Clock::time_point nextDeadline() const;

 private:
  // What is to be done at the place.
  enum class Action { show, count, has, write, remove, call };
  struct Inspection {
    ChannelNumber channel;
    Json id;
    Action action;
    Json values;  // of write and call
    unsigned depth;
    std::vector<Root> roots;
    PathWalk path;
    std::unique_ptr<TreeWalk> tree;  // once the place has been found
    std::uint64_t nodes;
  };

  static Action actionFrom(ObjectReader& in, Json& values);
  // Whether it has been answered.
  bool goOn(Inspection& inspection, Clock::time_point until);
  bool act(Inspection& inspection);
  Pivot::Status perform(Inspection& inspection, Json& answer) const;
  Pivot::Status write(Inspection& inspection, Pivot::OpResult& result) const;
  Pivot::Status call(Inspection& inspection, Pivot::OpResult& result) const;
  bool answer(Inspection const& inspection, Json members);
  bool refuse(Inspection const& inspection, std::string const& message);

  Outlet& outlet_;
  std::list<Inspection> running_;
};

}  // namespace Inlif
