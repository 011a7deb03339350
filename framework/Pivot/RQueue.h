// First-in-first-out queue of counted pointers in which each element keeps a 32-bit index.
//
// The first element ever gets index 1, each later one the next number, through wrap-around. Indices are
// compared by difference: a lies before b when b - a, unsigned, is below 0x7FFFFFFF.
//
// Elements lie in a chain of arrays, oldest first:
//
//   base index (32 bits) | start offset (14) | end offset (14) | log2 of the capacity (4) | slots...
//
// Q1. The slots [start, end) of an array hold its elements; the index of a slot is base + its offset.
//     Indices run on from one array to the next without a gap.
// Q2. An array is freed when its last element leaves. If none is left, an array of capacity 0 takes its
//     place: its base is the next index, and it is freed when the next element arrives. Only a queue that
//     was never used has no array at all.
// Q3. A new array's capacity is the smallest power of two above the number of elements in the queue
//     before the insertion, at least 4 and at most 8192.
//
// One queue belongs to one thread. The owner gives two trackers, for the arrays and for the elements. Where
// there is no memory for an array, the process ends.
#pragma once

#include <cstdint>

#include "Cobble/AllocTrack.h"
#include "Cobble/Export.h"
#include "Pivot/Node.h"

namespace Pivot {

// The queue of untyped elements under every RQueue. It counts elements but does not own them.
class LOAM_FRAMEWORK_EXPORT RQueueCore {
 public:
  using Release = void (*)(void* element);

  RQueueCore(Vex::AllocTrackTypeInfo& arrays, Vex::AllocTrackTypeInfo& elements, std::uint32_t firstIndex);
  RQueueCore(RQueueCore const&) = delete;
  RQueueCore& operator=(RQueueCore const&) = delete;
  // REQUIRES: delAll went before.
  ~RQueueCore();

  std::uint32_t enq(void* element);
  // Null when empty.
  void* deq();
  void* front() const;
  void* back() const;
  void* at(std::uint32_t index) const;

  bool empty() const { return head_ == nullptr || head_->start == head_->end; }
  // REQUIRES: not empty.
  std::uint32_t frontIndex() const { return head_->base + head_->start; }
  std::uint32_t nextIndex() const { return tail_ == nullptr ? kFirstIndex : tail_->base + tail_->end; }
  std::uint32_t size() const { return empty() ? 0 : nextIndex() - frontIndex(); }
  bool has(std::uint32_t index) const {
    return !empty() && isBefore(frontIndex(), index) && isBefore(index, nextIndex() - 1);
  }
  // Takes all elements out, then gives each to release; what release does to the queue finds it empty.
  void delAll(Release release);

  // a is b or lies before it.
  static bool isBefore(std::uint32_t a, std::uint32_t b) { return b - a < 0x7FFFFFFF; }

 private:
  static constexpr std::uint32_t kFirstIndex = 1;

  struct Array {
    Array* next;
    std::uint32_t base;
    std::uint32_t start : 14;
    std::uint32_t end : 14;
    // 0 stands for capacity 0: no array has a single slot.
    std::uint32_t logCapacity : 4;

    std::uint32_t capacity() const { return logCapacity == 0 ? 0 : 1U << logCapacity; }
    void** slots() { return reinterpret_cast<void**>(this + 1); }
  };
  static_assert(sizeof(Array) == 16);

  Array* newArray(std::uint32_t base, std::uint32_t capacity);
  void freeArray(Array* array);
  void grow();

  Array* head_ = nullptr;
  Array* tail_ = nullptr;
  Vex::AllocTrackTypeInfo* arrays_;
  Vex::AllocTrackTypeInfo* elements_;
};

// T is a Ptr<X>; an element in the queue holds one count of its object.
template <class T>
class RQueue {
  using Object = typename T::element_type;

 public:
  // firstIndex is the index of the first element; only tests of the wrap-around ask for another than 1.
  RQueue(Vex::AllocTrackTypeInfo& arrays, Vex::AllocTrackTypeInfo& elements, std::uint32_t firstIndex = 1)
      : core_(arrays, elements, firstIndex) {}
  ~RQueue() { delAll(); }

  // Appends at the back; returns the element's index. REQUIRES: the element is not null.
  std::uint32_t enq(T element) { return core_.enq(untyped(element.detach())); }
  // Takes the front element, or gives null when the queue is empty.
  T deq() { return T(typed(core_.deq()), false); }
  // Null when the queue is empty, or holds no element of that index.
  T front() const { return T(typed(core_.front())); }
  T back() const { return T(typed(core_.back())); }
  T at(std::uint32_t index) const { return T(typed(core_.at(index))); }

  // Whether the index lies between front and back.
  bool has(std::uint32_t index) const { return core_.has(index); }
  std::uint32_t size() const { return core_.size(); }
  bool empty() const { return core_.empty(); }
  // REQUIRES: not empty.
  std::uint32_t frontIndex() const { return core_.frontIndex(); }
  // The index that the next element will get.
  std::uint32_t nextIndex() const { return core_.nextIndex(); }
  // Drops all elements in one step; the next index stays.
  void delAll() {
    core_.delAll([](void* element) { T(typed(element), false).reset(); });
  }

 private:
  static void* untyped(Object* object) { return const_cast<void*>(static_cast<void const*>(object)); }
  static Object* typed(void* element) { return static_cast<Object*>(element); }

  RQueueCore core_;
};

}  // namespace Pivot
