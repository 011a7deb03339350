// Change notification by field id, from one object to the subscribers that named it.
//
// A subscription keeps nobody alive. A subscriber is one word inside its owner; the owner removes it before
// it goes. Within a notification a subscriber may remove itself or others, add others, be destroyed (having
// removed itself), publish again on the same publisher, or bring the publisher itself to its end. All on the
// agent's one thread.
//
// P1. A subscriber that is there when a publication begins and stays is told exactly once.
// P2. One that was removed is not told any more, also when its turn in a running publication was still to
//     come.
// P3. One that was added within a publication is told from the next publication on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cobble/Export.h"
#include "Pivot/Types.h"

namespace Pivot {

class Publisher;

struct Subscriber {
  // key and old are null where the field has none; they point to the field's own key and value types and live
  // for the call.
  using Dispatch = void (*)(Publisher* publisher, Subscriber* subscriber, FieldId field, void const* key,
                            void const* old);

  // Null while not subscribed; then the publisher passes over it.
  Dispatch dispatch = nullptr;
};
static_assert(sizeof(Subscriber) == sizeof(void*));

class LOAM_FRAMEWORK_EXPORT Publisher {
 public:
  Publisher() = default;
  Publisher(Publisher const&) = delete;
  Publisher& operator=(Publisher const&) = delete;
  ~Publisher();

  // Adds at the front (told first) or at the back. A null publisher, of an object that publishes nothing, is
  // passed over. Adding one that is there already is a fault of the caller and ends the process.
  static void subscriberAdd(Publisher* publisher, Subscriber* subscriber, bool atFront);
  // A null publisher and one that is not subscribed are passed over.
  static void subscriberRemove(Publisher* publisher, Subscriber* subscriber);

  bool hasSubscriber() const { return subscribers_ != 0; }

  // Tells every subscriber. On return the publisher may be gone, if a subscriber dropped its last owner.
  void publish(FieldId field, void const* key = nullptr, void const* old = nullptr) {
    if (hasSubscriber()) [[unlikely]]
      tell(field, key, old);
  }

 private:
  struct Walk;
  struct List;

  void tell(FieldId field, void const* key, void const* old);

  // 0 without a subscriber; the one that there is; or, with the lowest bit set, the list of several. Of the hundred
  // thousands of publishers nearly all have one subscriber at most.
  std::uintptr_t subscribers_ = 0;
};
static_assert(sizeof(Publisher) == sizeof(void*));

}  // namespace Pivot
