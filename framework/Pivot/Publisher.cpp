// The slow half of publishing: there is a subscriber.
//
// A publication walks the list by position. Whatever changes the list while publications are under way
// corrects the positions of all of them, and the end of the publisher tells them to touch it no more.
#include "Pivot/Publisher.h"

#include <algorithm>

#include "Vex/Assert.h"

namespace Pivot {

// g++ 12 sees a local object's address stored in the publisher and takes it for one that stays; the destructor of
// Walk takes it back.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

// One publication under way; it lies on the stack of tell().
struct Publisher::Walk {
  explicit Walk(Publisher& publisher)
      : publisher_(&publisher), end(publisher.subscribers_.size()), outer_(publisher.walk_) {
    publisher.walk_ = this;
  }
  ~Walk() {
    if (publisher_ != nullptr) publisher_->walk_ = outer_;
  }
  Walk(Walk const&) = delete;
  Walk& operator=(Walk const&) = delete;

  // Null once the publisher is gone.
  Publisher* publisher_;
  // Positions of the subscriber to be told next, and behind the last one that this publication tells.
  std::size_t next = 0;
  std::size_t end;
  Walk* outer_;
};

Publisher::~Publisher() {
  for (Walk* walk = walk_; walk != nullptr; walk = walk->outer_) walk->publisher_ = nullptr;
}

void Publisher::subscriberAdd(Publisher* publisher, Subscriber* subscriber, bool atFront) {
  if (publisher == nullptr) return;
  auto& list = publisher->subscribers_;
  VEX_ASSERT(std::find(list.begin(), list.end(), subscriber) == list.end(), "!subscribed(subscriber)");
  if (!atFront) {
    list.push_back(subscriber);
    return;
  }
  list.insert(list.begin(), subscriber);
  for (Walk* walk = publisher->walk_; walk != nullptr; walk = walk->outer_) {
    ++walk->next;
    ++walk->end;
  }
}

void Publisher::subscriberRemove(Publisher* publisher, Subscriber* subscriber) {
  if (publisher == nullptr) return;
  auto& list = publisher->subscribers_;
  auto const found = std::find(list.begin(), list.end(), subscriber);
  if (found == list.end()) return;
  auto const position = static_cast<std::size_t>(found - list.begin());
  list.erase(found);
  for (Walk* walk = publisher->walk_; walk != nullptr; walk = walk->outer_) {
    if (position < walk->next) --walk->next;
    if (position < walk->end) --walk->end;
  }
}

void Publisher::tell(FieldId field, void const* key, void const* old) {
  Walk walk(*this);
  while (walk.publisher_ != nullptr && walk.next < walk.end) {
    Subscriber* const subscriber = subscribers_[walk.next++];
    if (subscriber->dispatch != nullptr) subscriber->dispatch(this, subscriber, field, key, old);
  }
}

}  // namespace Pivot
