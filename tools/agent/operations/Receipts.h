// The operations of the clients that have a handle, by channel and the client's own id: so that a later
// operation can name one as its dependency, and so that an id that is still under way is not used twice.
//
// How many may be under way, and how many of those that have ended are remembered, is in the pools; the oldest are
// forgotten first. Operations of a channel that has gone are under way until they end. On the agent's one thread.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>

#include "Asic/DependencyEntryHandle.h"
#include "tools/agent/operations/Limits.h"
#include "tools/agent/operations/Outlet.h"

namespace Inlif {

class Receipts {
 public:
  using Handle = Pivot::Ptr<Asic::DependencyEntryHandle const>;

  explicit Receipts(Pools& pools) : pools_(pools) {}

  bool underWay(ChannelNumber channel, Json const& id) const;
  // Whether one more operation of the channel may begin.
  bool hasRoom(ChannelNumber channel) const;
  // Takes an id for an operation that begins now. REQUIRES: it is not under way.
  void begin(ChannelNumber channel, Json const& id);
  // The handle of an operation that has begun; a remove-all has none.
  void handleIs(ChannelNumber channel, Json const& id, Handle const& handle);
  void end(ChannelNumber channel, Json const& id);
  // The handle of a write or remove, or null when the id names none that is remembered.
  Handle handle(ChannelNumber channel, Json const& id) const;
  // Whether an operation of the channel has begun and not ended.
  bool anyUnderWay(ChannelNumber channel) const;
  // Nobody will name an id of the channel any more. Its operations go on; what is remembered of it is forgotten
  // piece by piece, in turn().
  void channelDel(ChannelNumber channel);
  // Returns whether there is more to forget.
  bool turn();
  void clear();

 private:
  struct Receipt {
    Handle handle;
    bool ended = false;
    std::size_t uses = 0;  // how often it stands in `ended` below
  };
  using ById = std::unordered_map<std::string, Receipt>;
  struct Channel {
    ById receipts;
    std::deque<ById::value_type*> ended;
    std::size_t underWay = 0;
    bool gone = false;
  };

  Receipt const* find(ChannelNumber channel, Json const& id) const;
  void forgetOldest(Channel& channel);

  Pools& pools_;
  std::map<ChannelNumber, Channel> channels_;
  std::deque<ChannelNumber> going_;  // gone, with something left to forget
};

}  // namespace Inlif
