// The linked queue of one table object.
#include "Asic/ResolverQueue.h"

#include <utility>

namespace Asic {

void ResolverQueue::enq(Pivot::Ptr<ResolverEntry> entry, std::uint64_t sequence, std::uint64_t now) {
  ResolverEntry* const added = entry.get();
  added->sequence_ = sequence;
  added->enqueuedAt_ = now;
  (tail_ == nullptr ? head_ : tail_->next_) = std::move(entry);
  tail_ = added;
  ++length_;
}

ResolverEntry* ResolverQueue::after(ResolverEntry const* entry) const {
  bool const queued = entry != nullptr && head_ != nullptr && entry->sequence_ >= head_->sequence_;
  return queued ? entry->next_.get() : head_.get();
}

Pivot::Ptr<ResolverEntry> ResolverQueue::deq() {
  unsubscribeDependency();
  Pivot::Ptr<ResolverEntry> entry = std::move(head_);
  head_ = std::move(entry->next_);
  if (head_ == nullptr) tail_ = nullptr;
  --length_;
  asked_ = 0;
  return entry;
}

void ResolverQueue::delAll() {
  while (head_ != nullptr) deq();
}

bool ResolverQueue::headWaitsForDependency() const {
  Pivot::Ptr<DependencyEntryHandle const> const& dependency = head_->dependantEntryHandle();
  return dependency != nullptr && dependency->entryState() == EntryState::entryStateUnresolved;
}

void ResolverQueue::subscribeDependency(Dispatch onChange) {
  if (dispatch != nullptr || !headWaitsForDependency()) return;
  dispatch = onChange;
  Pivot::Publisher::subscriberAdd(head_->dependantEntryHandle()->publisher(), this, false);
}

void ResolverQueue::unsubscribeDependency() {
  if (dispatch == nullptr) return;
  Pivot::Publisher::subscriberRemove(head_->dependantEntryHandle()->publisher(), this);
  dispatch = nullptr;
}

}  // namespace Asic
