// What a table was to publish outside of the resolver's queue and found no room for: that its unit is to be cleared,
// and which entries are to be brought into line with their resources. (Operations of clients are never set aside:
// they wait in the queue until they have room. That a unit is to be published anew after a loss, its log knows.)
//
// What is kept is what is to be done, not what it would have written: when there is room it is done from what
// stands then. The table owns one; the engine fills it and does what is in it; the group resolver says when
// (GroupResolver::Retry). It lives in this process alone: a next life makes repairs and updates anew, and a unit
// that nobody serves is cleared again. On the agent's one thread.
//
//   A1. A clear comes before everything that the table publishes later. As long as one stands, no operation of
//       the table commits, and updates are set aside behind it: none can bring an entry back that is to go, and
//       none that came later goes with it.
//   A2. The handle of an update stays unresolved and without a version until the entry is in line with its
//       resources; then it names the version that carries it. An update of a key that is set aside already is
//       the same update.
#pragma once

#include <absl/container/btree_map.h>

#include <cstddef>
#include <deque>
#include <optional>
#include <utility>

#include "Asic/GroupResolver.h"
#include "Asic/NeededEntry.h"
#include "Pivot/Node.h"

namespace Asic {

template <class Key, class EntryHandle>
class SetAside : public Pivot::Node, public GroupResolver::Retry {
 public:
  struct Clear {
    bool releaseResources = false;
    Pivot::Ptr<NeededEntry> needed;  // may be null
  };

  bool any() const { return clear_ || !updates_.empty(); }
  std::size_t size() const { return (clear_ ? 1 : 0) + updates_.size(); }

  bool clearStands() const { return clear_.has_value(); }
  // A second clear before the first is done is the same, and releases what either of them would.
  void addClear(Clear const& clear) {
    if (!clear_) clear_.emplace();
    clear_->releaseResources |= clear.releaseResources;
    if (!clear.needed) return;
    if (!clear_->needed) clear_->needed = Pivot::make<NeededEntry>();
    clear_->needed->merge(*clear.needed);
  }
  Clear takeClear() { return *std::exchange(clear_, std::nullopt); }

  // The handle of the update of a key; null at first.
  Pivot::Ptr<EntryHandle>& update(Key const& key) {
    auto const [at, isNew] = updates_.try_emplace(key);
    if (isNew) order_.push_back(key);
    return at->second;
  }
  bool updatesStand() const { return !order_.empty(); }
  // The one that was set aside first: versions come in the order in which the changes did. REQUIRES: one stands.
  std::pair<Key, Pivot::Ptr<EntryHandle>> updateFirst() const {
    return {order_.front(), updates_.find(order_.front())->second};
  }
  void updateFirstDel() {
    updates_.erase(order_.front());
    order_.pop_front();
  }

 private:
  std::optional<Clear> clear_;
  absl::btree_map<Key, Pivot::Ptr<EntryHandle>> updates_;
  std::deque<Key> order_;
};

}  // namespace Asic
