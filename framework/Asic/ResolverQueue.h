// The waiting operations of one table object, linked through themselves, and the standing of the one at the
// head. Part of the group resolver; nobody else uses it.
//
//   standing  means                                             the queue is in
//   empty     nothing queued                                    neither list
//   due       the head is to be asked                           the resolver's heap
//   waiting   the head was asked and said that it waits         the resolver's waiting list
//   taken     the head is being asked or committed              neither list
#pragma once

#include <boost/intrusive/list.hpp>
#include <cstddef>
#include <cstdint>

#include "Asic/ResolverEntry.h"
#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"

namespace Asic {

class GroupResolver;
class OrderedSwTable;

class ResolverQueue final : public Pivot::Node,
                            public Pivot::Subscriber,
                            public boost::intrusive::list_base_hook<> {
 public:
  COBBLE_SLAB(ResolverQueue, Cobble::SlabAllocationPattern::kDefault)

  enum class Standing : std::uint8_t { empty, due, waiting, taken };

  ResolverQueue(GroupResolver* resolver, OrderedSwTable const* key) : resolver_(resolver), key_(key) {}
  ~ResolverQueue() override { delAll(); }

  GroupResolver* resolver() const { return resolver_; }
  OrderedSwTable const* key() const { return key_; }
  std::size_t length() const { return length_; }
  Pivot::Ptr<ResolverEntry> const& head() const { return head_; }
  // REQUIRES: not empty.
  std::uint64_t headSequence() const { return head_->sequence_; }
  static std::uint64_t sequence(ResolverEntry const& entry) { return entry.sequence_; }
  static std::uint64_t enqueuedAt(ResolverEntry const& entry) { return entry.enqueuedAt_; }

  // `latencyWeight`: for how many operations the entry stands in the latencies of its table; 0 when it is not
  // measured.
  void enq(Pivot::Ptr<ResolverEntry> entry, std::uint64_t sequence, std::uint64_t now,
           std::uint8_t latencyWeight);
  // The entry behind `entry`, or the head when that is null or has left the queue; null at the end. Entries
  // leave in the order of their sequence, so a walk that holds on to its last entry goes on with what is left.
  ResolverEntry* after(ResolverEntry const* entry) const;
  // Takes the head off. REQUIRES: not empty.
  Pivot::Ptr<ResolverEntry> deq();
  // An entry that was taken off goes to its commit, and the next one has nothing before it any more: a stage
  // ends for both.
  void passHead(ResolverEntry& gone);
  // Drops all entries one after the other: a chain that fell as a whole would recurse as deep as it is long.
  void delAll();

  Standing standing() const { return standing_; }
  void standingIs(Standing standing) { standing_ = standing; }

  std::uint64_t asked() const { return asked_; }
  std::uint64_t askedAt() const { return askedAt_; }
  // The head said that it waits.
  void askedInc(std::uint64_t now) {
    ++asked_;
    askedAt_ = now;
  }

  // The head waits for its dependency; then its dependency's state is subscribed to.
  bool headWaitsForDependency() const;
  void subscribeDependency(Dispatch onChange);
  void unsubscribeDependency();

  using WaitingList = boost::intrusive::list<ResolverQueue>;

 private:
  GroupResolver* resolver_;
  OrderedSwTable const* key_;
  Pivot::Ptr<ResolverEntry> head_;
  ResolverEntry* tail_ = nullptr;
  std::size_t length_ = 0;
  std::uint64_t asked_ = 0;
  std::uint64_t askedAt_ = 0;
  Standing standing_ = Standing::empty;
};

}  // namespace Asic
