#include "tools/agent/WalkOperation.h"

#include <algorithm>

#include "tools/json/EntryJson.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;

// Entries between two looks at the clock.
constexpr int kBetweenLooks = 16;

}  // namespace

void WalkOperation::begin(ChannelNumber channel, Json const& id, Table const& table,
                          std::optional<std::uint32_t> from, std::uint64_t limit) {
  auto state = from ? table->initIterStateFromKey(InLifModelEntryKey(*from)) : table->initIterState();
  walks_.push_back({channel, id, table, std::move(state), limit});
}

// Goes on with one answer; false when it has been given to its end.
bool WalkOperation::step(Walk& walk) {
  auto const end = std::chrono::steady_clock::now() + kStep;
  for (int looked = 1; walk.left > 0; ++looked) {
    if (looked % kBetweenLooks == 0 && std::chrono::steady_clock::now() >= end) return true;
    InLifModelEntry const entry = walk.state->maybeUpdateCurrentEntry();
    if (!walk.state->state().entryValid()) break;
    Json shownEntry = {{"key", entry.logEntry.key.value()}};
    addEntry(shownEntry, entry);
    outlet_.send(walk.channel, {{"id", walk.id}, {"entry", std::move(shownEntry)}});
    ++walk.count;
    --walk.left;
  }
  outlet_.send(walk.channel, {{"id", walk.id}, {"ok", true}, {"count", walk.count}});
  return false;
}

std::size_t WalkOperation::turn() {
  return walks_.remove_if([this](Walk& walk) { return !step(walk); });
}

bool WalkOperation::holds(ChannelNumber channel) const {
  return std::ranges::any_of(walks_, [channel](Walk const& walk) { return walk.channel == channel; });
}

void WalkOperation::channelGone(ChannelNumber channel) {
  walks_.remove_if([channel](Walk const& walk) { return walk.channel == channel; });
}

}  // namespace Inlif
