#include "tools/agent/Receipts.h"

namespace Inlif {

Receipts::Receipt const* Receipts::find(ChannelNumber channel, Json const& id) const {
  auto const found = channels_.find(channel);
  if (found == channels_.end()) return nullptr;
  auto const receipt = found->second.receipts.find(id.dump());
  return receipt == found->second.receipts.end() ? nullptr : &receipt->second;
}

bool Receipts::underWay(ChannelNumber channel, Json const& id) const {
  Receipt const* receipt = find(channel, id);
  return receipt && !receipt->ended;
}

bool Receipts::anyUnderWay(ChannelNumber channel) const {
  auto const found = channels_.find(channel);
  return found != channels_.end() && found->second.underWay > 0;
}

void Receipts::begin(ChannelNumber channel, Json const& id) {
  Channel& own = channels_[channel];
  Receipt& receipt = own.receipts[id.dump()];
  ++own.underWay;
  receipt.ended = false;
  receipt.handle.reset();
}

void Receipts::handleIs(ChannelNumber channel, Json const& id, Handle const& handle) {
  channels_[channel].receipts[id.dump()].handle = handle;
}

void Receipts::end(ChannelNumber channel, Json const& id) {
  auto const found = channels_.find(channel);
  if (found == channels_.end()) return;
  auto& [receipts, ended, underWay] = found->second;
  --underWay;
  std::string name = id.dump();
  Receipt& receipt = receipts[name];
  receipt.ended = true;
  ++receipt.uses;
  ended.push_back(std::move(name));
  while (ended.size() > kEndedKept) {
    auto const oldest = receipts.find(ended.front());
    // An id that was used again since then stays for its newer use.
    if (oldest != receipts.end() && --oldest->second.uses == 0 && oldest->second.ended)
      receipts.erase(oldest);
    ended.pop_front();
  }
}

Receipts::Handle Receipts::handle(ChannelNumber channel, Json const& id) const {
  Receipt const* receipt = find(channel, id);
  return receipt ? receipt->handle : nullptr;
}

}  // namespace Inlif
