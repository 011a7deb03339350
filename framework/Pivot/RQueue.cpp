// The chain of arrays under RQueue; the rules Q1 to Q3 are those of the header.
#include "Pivot/RQueue.h"

#include <algorithm>
#include <bit>

#include "Cobble/Slab.h"
#include "Vex/Assert.h"

namespace Pivot {
namespace {

constexpr std::uint32_t kLeastCapacity = 4;
constexpr std::uint32_t kMostCapacity = 8192;
constexpr auto kPattern = Cobble::SlabAllocationPattern::kDefault;

}  // namespace

RQueueCore::RQueueCore(Vex::AllocTrackTypeInfo& arrays, Vex::AllocTrackTypeInfo& elements,
                       std::uint32_t firstIndex)
    : arrays_(&arrays), elements_(&elements) {
  if (firstIndex != kFirstIndex) head_ = tail_ = newArray(firstIndex, 0);
}

RQueueCore::~RQueueCore() {
  VEX_ASSERT(empty(), "empty()");
  if (head_ != nullptr) freeArray(head_);
}

RQueueCore::Array* RQueueCore::newArray(std::uint32_t base, std::uint32_t capacity) {
  std::size_t const bytes = sizeof(Array) + capacity * sizeof(void*);
  auto* const array = new (Cobble::SlabAllocator::allocate(bytes, kPattern)) Array{};
  arrays_->allocated(bytes);
  array->base = base;
  array->logCapacity = static_cast<unsigned char>(capacity == 0 ? 0 : std::countr_zero(capacity)) & 0xFU;
  return array;
}

void RQueueCore::freeArray(Array* array) {
  std::size_t const bytes = sizeof(Array) + array->capacity() * sizeof(void*);
  arrays_->freed(bytes);
  Cobble::SlabAllocator::free(array, bytes, kPattern);
}

// Chains a new array on, or puts the first one in the place of none or of the array that only carries the
// next index (Q2, Q3).
void RQueueCore::grow() {
  std::uint32_t const wanted = std::clamp(std::bit_ceil(size() + 1), kLeastCapacity, kMostCapacity);
  Array* const array = newArray(nextIndex(), wanted);
  if (empty()) {
    if (head_ != nullptr) freeArray(head_);
    head_ = array;
  } else {
    tail_->next = array;
  }
  tail_ = array;
}

std::uint32_t RQueueCore::enq(void* element) {
  VEX_ASSERT(element != nullptr, "element");
  if (tail_ == nullptr || tail_->end == tail_->capacity()) grow();
  std::uint32_t const offset = tail_->end;
  tail_->slots()[offset] = element;
  tail_->end = (offset + 1) & 0x3FFF;
  elements_->allocated(sizeof(void*));
  return tail_->base + offset;
}

void* RQueueCore::deq() {
  if (empty()) return nullptr;
  Array* const array = head_;
  std::uint32_t const offset = array->start;
  void* const element = array->slots()[offset];
  array->start = (offset + 1) & 0x3FFF;
  if (array->start == array->end) {
    // Only the last array of the chain may have free slots, so that an array which emptied before it was full
    // has no next.
    head_ = array->next;
    if (head_ == nullptr) head_ = tail_ = newArray(array->base + array->end, 0);
    freeArray(array);
  }
  elements_->freed(sizeof(void*));
  return element;
}

void* RQueueCore::front() const {
  return empty() ? nullptr : head_->slots()[head_->start];
}

void* RQueueCore::back() const {
  return empty() ? nullptr : tail_->slots()[tail_->end - 1];
}

void* RQueueCore::at(std::uint32_t index) const {
  if (!has(index)) return nullptr;
  Array* array = head_;
  while (index - array->base >= array->end) array = array->next;
  return array->slots()[index - array->base];
}

void RQueueCore::delAll(Release release) {
  if (empty()) return;
  Array* array = head_;
  head_ = tail_ = newArray(nextIndex(), 0);
  while (array != nullptr) {
    for (std::uint32_t offset = array->start; offset != array->end; ++offset) {
      elements_->freed(sizeof(void*));
      release(array->slots()[offset]);
    }
    Array* const next = array->next;
    freeArray(array);
    array = next;
  }
}

}  // namespace Pivot
