// The operations of the clients that have a handle, by channel and the client's own id: so that a later
// operation can name one as its dependency, and so that an id that is still under way is not used twice.
//
// Of the operations that have ended the last kEndedKept of each channel are remembered. On the agent's one
// thread.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>

#include "Asic/DependencyEntryHandle.h"
#include "tools/agent/Outlet.h"

namespace Inlif {

class Receipts {
 public:
  using Handle = Pivot::Ptr<Asic::DependencyEntryHandle const>;

  static constexpr std::size_t kEndedKept = 65536;

  bool underWay(ChannelNumber channel, Json const& id) const;
  // Takes an id for an operation that begins now. REQUIRES: it is not under way.
  void begin(ChannelNumber channel, Json const& id);
  // The handle of an operation that has begun; a remove-all has none.
  void handleIs(ChannelNumber channel, Json const& id, Handle const& handle);
  void end(ChannelNumber channel, Json const& id);
  // The handle of a write or remove, or null when the id names none that is remembered.
  Handle handle(ChannelNumber channel, Json const& id) const;
  // Whether an operation of the channel has begun and not ended.
  bool anyUnderWay(ChannelNumber channel) const;
  // Forgets a channel. Its operations go on.
  void channelDel(ChannelNumber channel) { channels_.erase(channel); }
  void clear() { channels_.clear(); }

 private:
  struct Receipt {
    Handle handle;
    bool ended = false;
    std::size_t uses = 0;  // how often the id stands in `ended` below
  };
  struct Channel {
    std::unordered_map<std::string, Receipt> receipts;
    std::deque<std::string> ended;
    std::size_t underWay = 0;
  };

  Receipt const* find(ChannelNumber channel, Json const& id) const;

  std::map<ChannelNumber, Channel> channels_;
};

}  // namespace Inlif
