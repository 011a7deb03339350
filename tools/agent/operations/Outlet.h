// Where answers and events go: the channels of the event loop, by number; and who has asked for an answer.
#pragma once

#include <cstdint>
#include <string_view>

#include "tools/json/ObjectReader.h"

namespace Inlif {

using ChannelNumber = std::uint32_t;

class Outlet {
 public:
  virtual ~Outlet() = default;

  // To a channel that has gone, nothing is sent.
  virtual void send(ChannelNumber channel, Json const& message) = 0;
  // The same for a message that stands as it is sent, without the end of the line.
  virtual void sendText(ChannelNumber channel, std::string_view message) = 0;
  // To every channel that has room for it; the others are told later how many messages they missed.
  virtual void broadcast(Json const& message) = 0;
  // Whether nobody takes what is sent to a channel.
  virtual bool isGone(ChannelNumber channel) const = 0;
  // Whether a channel has so much unsent that who has more for it at leisure does better to wait.
  virtual bool isFull(ChannelNumber channel) const = 0;
};

// Who has asked, and how that one is answered. The outlet outlives it.
struct Asker {
  Outlet& outlet;
  ChannelNumber channel;
  Json id;

  // One line of an answer, which carries the id.
  void send(Json const& members) const {
    Json message = {{"id", id}};
    message.update(members);
    outlet.send(channel, message);
  }
  // The last line, of either kind.
  void answer(Json const& members) const {
    Json message = {{"ok", true}};
    message.update(members);
    send(message);
  }
  void refuse(std::string const& why) const { send({{"ok", false}, {"error", why}}); }
};

}  // namespace Inlif
