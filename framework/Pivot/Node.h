// The counted object from which every class of the agent derives, and the counted pointer to it.
//
// A node is born with a count of 1, which make() hands to the first Ptr. So Ptr<T>(this) is legal within a
// constructor: it adds a count and cannot destroy the half-made object when it goes. While lastUserGone()
// runs the count is 1 again, for the same reason: a Ptr taken and dropped within a destructor must not
// destroy a second time.
//
// Counts are plain while ThreadControl::tsp_ is clear. While it is set, an increment is relaxed (whoever adds
// a count already holds one, so nothing needs to be seen) and a decrement is acquire-release: its release
// half meets the acquire half of the last decrement and keeps another user's last writes from being seen
// after the memory has been freed.
#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstdint>
#include <utility>

#include "Cobble/Export.h"
#include "Cobble/ThreadControl.h"
#include "Pivot/Types.h"

namespace Pivot {

class Publisher;

class LOAM_FRAMEWORK_EXPORT Node {
 public:
  // Node flags. The low bits are free for derived classes.
  static constexpr std::uint32_t kHasNotificationActive = 0x20000000;
  static constexpr std::uint32_t kMarkAndSweepFlag = 0x40000000;

  Node() = default;
  Node(Node const&) = delete;
  Node& operator=(Node const&) = delete;

  // The order of these four slots is the order in every class of the system.
  virtual ~Node();
  // Called once when the count has fallen to 0; deletes the object. An override that keeps it owns one count,
  // as at birth.
  virtual void lastUserGone();
  // Where changes of this object are published; null for an object that publishes none.
  virtual Publisher* publisher() const;
  virtual TypeData typeData() const;

  std::uint32_t useCount() const { return useCount_; }

  bool flagHas(std::uint32_t mask) const { return (flags_ & mask) != 0; }
  void flagSet(std::uint32_t mask, bool on) { flags_ = on ? flags_ | mask : flags_ & ~mask; }
  // While set, the object drops the notifications that reach it.
  bool markAndSweepFlag() const { return flagHas(kMarkAndSweepFlag); }
  void markAndSweepFlagSet(bool on) { flagSet(kMarkAndSweepFlag, on); }

  friend void intrusive_ptr_add_ref(Node const* node) {
    if (!ThreadControl::tsp_) [[likely]] {
      ++node->useCount_;
    } else {
      sharedAdd(node);
    }
  }
  friend void intrusive_ptr_release(Node const* node) {
    if (!ThreadControl::tsp_) [[likely]] {
      if (--node->useCount_ == 0) gone(node);
    } else {
      sharedRelease(node);
    }
  }

 private:
  static void sharedAdd(Node const* node);
  static void sharedRelease(Node const* node);
  static void gone(Node const* node) {
    node->useCount_ = 1;
    const_cast<Node*>(node)->lastUserGone();
  }

  mutable std::uint32_t useCount_ = 1;
  std::uint32_t flags_ = 0;
};
static_assert(sizeof(Node) == sizeof(void*) + 8, "a count and a word of flags beside the vtable");

template <class T>
using Ptr = boost::intrusive_ptr<T>;

// Makes a node; the pointer adopts the count that it is born with. Nodes are made in no other way.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...), false);
}

}  // namespace Pivot
