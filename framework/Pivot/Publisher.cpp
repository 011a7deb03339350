// The slow half of publishing: there is a subscriber.
//
// A publication walks the list by position. Whatever changes the list while publications are under way
// corrects the positions of all of them, and the end of the publisher tells them to touch it no more. There are
// hundred thousands of publishers and hardly ever more than a few publications within each other, so these are
// found through one chain, and no publisher has room for its own.
#include "Pivot/Publisher.h"

#include <utility>
#include <vector>

#include "Vex/Assert.h"

namespace Pivot {

// The subscribers of a publisher by position, however they are kept.
struct Publisher::List {
  using Several = std::vector<Subscriber*>;
  static constexpr std::uintptr_t kSeveral = 1;

  explicit List(Publisher& publisher) : word(publisher.subscribers_) {}

  bool areSeveral() const { return (word & kSeveral) != 0; }
  Several& several() const { return *reinterpret_cast<Several*>(word - kSeveral); }
  std::size_t size() const { return areSeveral() ? several().size() : word != 0; }
  Subscriber* at(std::size_t position) const {
    return areSeveral() ? several()[position] : reinterpret_cast<Subscriber*>(word);
  }
  // size() when it is not there.
  std::size_t find(Subscriber* subscriber) const {
    std::size_t position = 0;
    while (position < size() && at(position) != subscriber) ++position;
    return position;
  }
  void insert(std::size_t position, Subscriber* subscriber) {
    if (word == 0) {
      word = reinterpret_cast<std::uintptr_t>(subscriber);
      return;
    }
    if (!areSeveral()) word = reinterpret_cast<std::uintptr_t>(new Several{at(0)}) + kSeveral;
    several().insert(several().begin() + static_cast<std::ptrdiff_t>(position), subscriber);
  }
  void erase(std::size_t position) {
    if (areSeveral()) several().erase(several().begin() + static_cast<std::ptrdiff_t>(position));
    if (!areSeveral() || several().empty()) clear();
  }
  void clear() {
    if (areSeveral()) delete &several();
    word = 0;
  }

  std::uintptr_t& word;
};

// One publication under way; it lies on the stack of tell().
struct Publisher::Walk {
  explicit Walk(Publisher& publisher)
      : publisher_(&publisher), end(List(publisher).size()), outer_(std::exchange(innermost, this)) {}
  ~Walk() { innermost = outer_; }
  Walk(Walk const&) = delete;
  Walk& operator=(Walk const&) = delete;

  template <class Visit>
  static void each(Publisher const* publisher, Visit visit) {
    for (Walk* walk = innermost; walk != nullptr; walk = walk->outer_) {
      if (walk->publisher_ == publisher) visit(*walk);
    }
  }

  // Null once the publisher is gone.
  Publisher* publisher_;
  // Positions of the subscriber to be told next, and behind the last one that this publication tells.
  std::size_t next = 0;
  std::size_t end;

 private:
  // Of all publications under way, whosever they are.
  static constinit Walk* innermost;
  Walk* outer_;
};
constinit Publisher::Walk* Publisher::Walk::innermost = nullptr;

Publisher::~Publisher() {
  Walk::each(this, [](Walk& walk) { walk.publisher_ = nullptr; });
  List(*this).clear();
}

void Publisher::subscriberAdd(Publisher* publisher, Subscriber* subscriber, bool atFront) {
  if (publisher == nullptr) return;
  List list(*publisher);
  VEX_ASSERT(list.find(subscriber) == list.size(), "!subscribed(subscriber)");
  list.insert(atFront ? 0 : list.size(), subscriber);
  if (!atFront) return;
  Walk::each(publisher, [](Walk& walk) {
    ++walk.next;
    ++walk.end;
  });
}

void Publisher::subscriberRemove(Publisher* publisher, Subscriber* subscriber) {
  if (publisher == nullptr) return;
  List list(*publisher);
  std::size_t const position = list.find(subscriber);
  if (position == list.size()) return;
  list.erase(position);
  Walk::each(publisher, [position](Walk& walk) {
    if (position < walk.next) --walk.next;
    if (position < walk.end) --walk.end;
  });
}

void Publisher::tell(FieldId field, void const* key, void const* old) {
  Walk walk(*this);
  while (walk.publisher_ != nullptr && walk.next < walk.end) {
    Subscriber* const subscriber = List(*this).at(walk.next++);
    if (subscriber->dispatch != nullptr) subscriber->dispatch(this, subscriber, field, key, old);
  }
}

}  // namespace Pivot
