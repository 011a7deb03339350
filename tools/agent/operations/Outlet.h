// Where answers and events go: the channels of the event loop, by number.
#pragma once

#include <cstdint>

#include "tools/json/ObjectReader.h"

namespace Inlif {

using ChannelNumber = std::uint32_t;

class Outlet {
 public:
  virtual ~Outlet() = default;

  // To a channel that has gone, nothing is sent.
  virtual void send(ChannelNumber channel, Json const& message) = 0;
  // To every channel that has room for it; the others are told later how many messages they missed.
  virtual void broadcast(Json const& message) = 0;
  // Whether nobody takes what is sent to a channel.
  virtual bool isGone(ChannelNumber channel) const = 0;
  // Whether a channel has so much unsent that who has more for it at leisure does better to wait.
  virtual bool isFull(ChannelNumber channel) const = 0;
};

}  // namespace Inlif
