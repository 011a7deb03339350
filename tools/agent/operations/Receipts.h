// The operations of the clients that have a handle, by channel and the client's own id: so that a later
// operation can name one as its dependency, and so that an id that is still under way is not used twice.
//
// An id is its text as JSON. How many may be under way, and how many of those that have ended are remembered, is in the
// pools; the oldest are forgotten first. Operations of a channel that has gone are under way until they end. On the
// agent's one thread.
#pragma once

#include <absl/container/node_hash_map.h>

#include <cstddef>
#include <deque>
#include <map>
#include <string>

#include "Asic/DependencyEntryHandle.h"
#include "tools/agent/operations/Limits.h"
#include "tools/agent/operations/Outlet.h"

namespace Inlif {

class Receipts {
  struct Channel;

 public:
  using Handle = Pivot::Ptr<Asic::DependencyEntryHandle const>;

  // Of one operation. It lies where it is until the operation has ended and is forgotten, so who ends it holds it.
  class Receipt {
   public:
    ChannelNumber channel() const { return channel_->number; }
    std::string const& id() const { return *id_; }
    // Null for a remove-all.
    Handle const& handle() const { return handle_; }
    void handleIs(Handle handle) { handle_ = std::move(handle); }
    bool underWay() const { return !ended_; }

   private:
    friend class Receipts;

    Channel* channel_ = nullptr;
    std::string const* id_ = nullptr;
    Handle handle_;
    bool ended_ = false;
    std::size_t uses_ = 0;  // how often it stands in `ended` below
  };

  explicit Receipts(Pools& pools) : pools_(pools) {}

  // Null when the id names none that is remembered.
  Receipt const* find(ChannelNumber channel, std::string const& id) const;
  // Whether one more operation of the channel may begin.
  bool hasRoom(ChannelNumber channel) const;
  // Takes an id for an operation that begins now. REQUIRES: it is not under way.
  Receipt& begin(ChannelNumber channel, std::string const& id);
  // REQUIRES: it is under way. Afterwards it may be forgotten.
  void end(Receipt& receipt);
  // Whether an operation of the channel has begun and not ended.
  bool anyUnderWay(ChannelNumber channel) const;
  // Nobody will name an id of the channel any more. Its operations go on; what is remembered of it is forgotten
  // piece by piece, in turn().
  void channelDel(ChannelNumber channel);
  // Returns whether there is more to forget.
  bool turn();
  // Nobody names a dependency any more. Operations may still end.
  void dropHandles();

 private:
  using ById = absl::node_hash_map<std::string, Receipt>;
  struct Channel {
    ChannelNumber number = 0;
    ById receipts;
    std::deque<Receipt*> ended;
    std::size_t underWay = 0;
    bool gone = false;
  };

  void forgetOldest(Channel& channel);

  Pools& pools_;
  std::map<ChannelNumber, Channel> channels_;
  std::deque<ChannelNumber> going_;  // gone, with something left to forget
};

}  // namespace Inlif
