// The memory of inspection's iterators, and the functions that drive them.
#include "Pivot/CollectionIterator.h"

#include "Cobble/Slab.h"

namespace Vex {

constinit AllocTrackTypeInfo CollectionIteratorBase::memAllocationTracker_{"Vex::CollectionIteratorBase"};

CollectionIteratorBase::~CollectionIteratorBase() = default;

void* CollectionIteratorBase::operator new(std::size_t bytes) {
  memAllocationTracker_.allocated(bytes);
  return Cobble::SlabAllocator::allocate(bytes, Cobble::SlabAllocationPattern::kDefault);
}

void CollectionIteratorBase::operator delete(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  memAllocationTracker_.freed(bytes);
  Cobble::SlabAllocator::free(block, bytes, Cobble::SlabAllocationPattern::kDefault);
}

void iterObj(Pivot::OpResult& result, CollectionIteratorBase const* iterator) {
  iterator->objectOf(result);
}

void iterKey(Pivot::OpResult& result, CollectionIteratorBase const* iterator) {
  iterator->keyOf(result);
}

bool iterNonnull(CollectionIteratorBase const* iterator) {
  return iterator->isNonnull();
}

void iterInc(CollectionIteratorBase* iterator) {
  iterator->inc();
}

void iterDel(CollectionIteratorBase* iterator) {
  delete iterator;
}

}  // namespace Vex
