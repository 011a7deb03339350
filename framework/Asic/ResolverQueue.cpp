// The linked queue of one table object.
#include "Asic/ResolverQueue.h"

#include <utility>

#include "Asic/OrderedSwTable.h"

namespace Asic {

void ResolverQueue::enq(Pivot::Ptr<ResolverEntry> entry, std::uint64_t sequence, std::uint64_t now,
                        std::uint8_t latencyWeight) {
  ResolverEntry* const added = entry.get();
  added->sequence_ = sequence;
  added->enqueuedAt_ = now;
  (tail_ == nullptr ? head_ : tail_->next_) = std::move(entry);
  tail_ = added;
  ++length_;
  // What belongs to no table has nowhere to be counted.
  if (latencyWeight == 0 || key_ == nullptr) return;
  std::uint64_t const accepted = SwTableLatency::now();
  added->latencyStamp_ = LatencyStamp(accepted, latencyWeight);
  if (length_ == 1) key_->latency().record(SwTableLatency::Stage::behind, added->latencyStamp_, accepted);
}

void ResolverQueue::passHead(ResolverEntry& gone) {
  bool const nextIsMeasured = head_ != nullptr && head_->latencyStamp_.weight() != 0;
  if (gone.latencyStamp_.weight() == 0 && !nextIsMeasured) return;
  std::uint64_t const now = SwTableLatency::now();
  key_->latency().record(SwTableLatency::Stage::head, gone.latencyStamp_, now);
  gone.latencyStamp_ = gone.latencyStamp_.at(now);
  if (!nextIsMeasured) return;
  key_->latency().record(SwTableLatency::Stage::behind, head_->latencyStamp_, now);
  head_->latencyStamp_ = head_->latencyStamp_.at(now);
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
