#include "tools/agent/operations/Receipts.h"

namespace Inlif {
namespace {

// Forgetting all ids of a channel at once would keep the others waiting.
constexpr std::size_t kForgottenOfTurn = 256;

}  // namespace

Receipts::Receipt const* Receipts::find(ChannelNumber channel, std::string const& id) const {
  auto const found = channels_.find(channel);
  if (found == channels_.end()) return nullptr;
  auto const receipt = found->second.receipts.find(id);
  return receipt == found->second.receipts.end() ? nullptr : &receipt->second;
}

bool Receipts::anyUnderWay(ChannelNumber channel) const {
  auto const found = channels_.find(channel);
  return found != channels_.end() && found->second.underWay > 0;
}

bool Receipts::hasRoom(ChannelNumber channel) const {
  auto const found = channels_.find(channel);
  return (found == channels_.end() ? 0 : found->second.underWay) < pools_.underWay.ofOne();
}

Receipts::Receipt& Receipts::begin(ChannelNumber channel, std::string const& id) {
  Channel& own = channels_[channel];
  own.number = channel;
  auto& [key, receipt] = *own.receipts.try_emplace(id).first;
  pools_.underWay.change(0, 1);
  ++own.underWay;
  receipt.channel_ = &own;
  receipt.id_ = &key;
  receipt.ended_ = false;
  receipt.handle_.reset();
  return receipt;
}

void Receipts::end(Receipt& receipt) {
  Channel& own = *receipt.channel_;
  --own.underWay;
  pools_.underWay.change(1, 0);
  receipt.ended_ = true;
  ++receipt.uses_;
  own.ended.push_back(&receipt);
  pools_.remembered.change(0, 1);
  if (own.gone) {
    if (own.ended.size() == 1) going_.push_back(own.number);
    return;
  }
  // Two for one, since what the channel may remember falls when others come.
  for (int i = 0; i < 2 && own.ended.size() > pools_.remembered.ofOne(); ++i) forgetOldest(own);
}

// An id that was used again since then stays for its newer use.
void Receipts::forgetOldest(Channel& channel) {
  Receipt& receipt = *channel.ended.front();
  channel.ended.pop_front();
  pools_.remembered.change(1, 0);
  if (--receipt.uses_ == 0 && receipt.ended_) channel.receipts.erase(channel.receipts.find(*receipt.id_));
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

void Receipts::dropHandles() {
  for (auto& [number, channel] : channels_) {
    for (auto& [id, receipt] : channel.receipts) receipt.handle_.reset();
  }
}

}  // namespace Inlif
