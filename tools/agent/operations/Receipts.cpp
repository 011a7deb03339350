#include "tools/agent/operations/Receipts.h"

namespace Inlif {
namespace {

// Forgetting all ids of a channel at once would keep the others waiting.
constexpr std::size_t kForgottenOfTurn = 256;

}  // namespace

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

bool Receipts::hasRoom(ChannelNumber channel) const {
  auto const found = channels_.find(channel);
  return (found == channels_.end() ? 0 : found->second.underWay) < pools_.underWay.ofOne();
}

void Receipts::begin(ChannelNumber channel, Json const& id) {
  Channel& own = channels_[channel];
  Receipt& receipt = own.receipts[id.dump()];
  pools_.underWay.change(0, 1);
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
  Channel& own = found->second;
  auto const at = own.receipts.find(id.dump());
  if (at == own.receipts.end()) return;
  --own.underWay;
  pools_.underWay.change(1, 0);
  at->second.ended = true;
  ++at->second.uses;
  own.ended.push_back(&*at);
  pools_.remembered.change(0, 1);
  if (own.gone) {
    if (own.ended.size() == 1) going_.push_back(channel);
    return;
  }
  // Two for one, since what the channel may remember falls when others come.
  for (int i = 0; i < 2 && own.ended.size() > pools_.remembered.ofOne(); ++i) forgetOldest(own);
}

// An id that was used again since then stays for its newer use.
void Receipts::forgetOldest(Channel& channel) {
  auto& [id, receipt] = *channel.ended.front();
  channel.ended.pop_front();
  pools_.remembered.change(1, 0);
  if (--receipt.uses == 0 && receipt.ended) channel.receipts.erase(channel.receipts.find(id));
}

void Receipts::channelDel(ChannelNumber channel) {
  auto const found = channels_.find(channel);
  if (found == channels_.end()) return;
  found->second.gone = true;
  going_.push_back(channel);
}

bool Receipts::turn() {
  for (std::size_t left = kForgottenOfTurn; left > 0 && !going_.empty();) {
    auto const found = channels_.find(going_.front());
    if (found != channels_.end()) {
      Channel& own = found->second;
      for (; left > 0 && !own.ended.empty(); --left) forgetOldest(own);
      if (!own.ended.empty()) return true;
      if (own.receipts.empty()) channels_.erase(found);
    }
    going_.pop_front();
  }
  return !going_.empty();
}

void Receipts::clear() {
  for (auto const& [number, channel] : channels_) {
    pools_.underWay.change(channel.underWay, 0);
    pools_.remembered.change(channel.ended.size(), 0);
  }
  channels_.clear();
  going_.clear();
}

Receipts::Handle Receipts::handle(ChannelNumber channel, Json const& id) const {
  Receipt const* receipt = find(channel, id);
  return receipt ? receipt->handle : nullptr;
}

}  // namespace Inlif
