// A short wait between what a walk reads and what it then does with it, so that memory has the time to bring what
// that needs: the walk fetches for what it puts in, and uses what comes out. Whoever walks owns one for that.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Vex {

template <class Item, std::size_t kAhead>
class LookAhead {
 public:
  // Puts an item in and gives its place. The one that came kAhead before it goes to `use` first.
  template <class Use>
  Item& push(Item item, Use const& use) {
    Item& place = items_[count_ % kAhead];
    if (count_++ >= kAhead) use(place);
    return place = std::move(item);
  }
  // The item that has waited for half of the time; an item made of nothing while there is none.
  Item const& halfWay() const { return items_[(count_ + kAhead / 2) % kAhead]; }
  // Gives `use` what is left, in the order in which it came. No item comes after it.
  template <class Use>
  void drain(Use const& use) {
    for (std::size_t next = count_ - std::min(count_, kAhead); next < count_; ++next) {
      Item item = std::move(items_[next % kAhead]);
      use(item);
    }
  }

 private:
  std::array<Item, kAhead> items_;
  std::size_t count_ = 0;
};

}  // namespace Vex
