// The slow half of publishing: there is a subscriber.
//
// A publication walks the list by position. Whatever changes the list while publications are under way
// corrects the positions of all of them, and the end of the publisher tells them to touch it no more.
#include "Pivot/Publisher.h"

#include <vector>

#include "Vex/Assert.h"

namespace Pivot {

// g++ 12 sees a local object's address stored in the publisher and takes it for one that stays; the destructor of
// Walk takes it back.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

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
      : publisher_(&publisher), end(List(publisher).size()), outer_(publisher.walk_) {
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
  List(*this).clear();
}

void Publisher::subscriberAdd(Publisher* publisher, Subscriber* subscriber, bool atFront) {
  if (publisher == nullptr) return;
  List list(*publisher);
  VEX_ASSERT(list.find(subscriber) == list.size(), "!subscribed(subscriber)");
  list.insert(atFront ? 0 : list.size(), subscriber);
  if (!atFront) return;
  for (Walk* walk = publisher->walk_; walk != nullptr; walk = walk->outer_) {
    ++walk->next;
    ++walk->end;
  }
}

void Publisher::subscriberRemove(Publisher* publisher, Subscriber* subscriber) {
  if (publisher == nullptr) return;
  List list(*publisher);
  std::size_t const position = list.find(subscriber);
  if (position == list.size()) return;
  list.erase(position);
  for (Walk* walk = publisher->walk_; walk != nullptr; walk = walk->outer_) {
    if (position < walk->next) --walk->next;
    if (position < walk->end) --walk->end;
  }
}

void Publisher::tell(FieldId field, void const* key, void const* old) {
  Walk walk(*this);
  while (walk.publisher_ != nullptr && walk.next < walk.end) {
    Subscriber* const subscriber = List(*this).at(walk.next++);
    if (subscriber->dispatch != nullptr) subscriber->dispatch(this, subscriber, field, key, old);
  }
}

}  // namespace Pivot
