// The one place where operations of a group wait until they may commit.
//
// Each table object has a queue, in the order in which its operations were accepted. The agent's loop calls
// turn(); nothing else asks or commits, so neither happens inside a client's call, and a turn that is reached
// from within another does nothing.
//
//   R1. Entries of one queue commit in the order in which they were enqueued. A head that waits holds
//       back its own queue alone.
//   R2. Only heads are asked. A head is asked when it has become the head, after a notice, when its
//       dependency has left entryStateUnresolved, and otherwise once in kReaskNanoseconds.
//   R3. Of the heads that may commit, the one that was enqueued first commits first.
//   R4. What was set aside for want of room (Retry) is done again after a notice, and otherwise once in
//       kReaskNanoseconds, before any head is asked: it is older than what waits, and the room is its own.
//
// A notice is updateGenId() or noticeResource(). The one exception is the updateGenId() that belongs to an
// enqueue: it says no more than the enqueue itself, and taking it for a notice would make every write ask
// every waiting head again. A notice raised by a commit is taken up right after it, one that an entry raises
// while it is being asked with the next commit or turn.
//
// Cost: an enqueue links one entry; a commit costs the logarithm of the number of queues that are due,
// whatever waits behind the heads; a notice costs one question for each waiting head.
#pragma once

#include <algorithm>
#include <boost/intrusive/list.hpp>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "Asic/CallCheck.h"
#include "Asic/ResolverEntry.h"
#include "Asic/ResolverQueue.h"
#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"

namespace Asic {

class OrderedSwTable;

class LOAM_FRAMEWORK_EXPORT GroupResolver final : public Pivot::Node {
 public:
  COBBLE_SLAB(GroupResolver, Cobble::SlabAllocationPattern::kDefault)

  static constexpr std::uint64_t kReaskNanoseconds = 1'000'000'000;

  // Nanoseconds of a clock that never goes back.
  using Clock = std::uint64_t (*)();

  // What a table or its log was to publish outside of the queues and found no room for. It leaves the resolver with its end.
  class Retry
      : public boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>> {
   public:
    // Does what there is room for. What is left asks for another time, by retryIs().
    virtual void retry() = 0;

   protected:
    ~Retry() = default;
  };

  // What inspection sees of the entry at the head of a queue.
  struct Head {
    OrderedSwTable const* queue;
    Pivot::Ptr<ResolverEntry> entry;
    std::size_t queueLength;
    std::uint64_t ageNanoseconds;
    // How often it was asked and said that it waits.
    std::uint64_t asked;
    // Its dependency is still unresolved; otherwise it waits for a resource or for room, or has not been
    // asked yet.
    bool waitsForDependency;
  };

  explicit GroupResolver(Pivot::String groupName);
  // Drops what is still queued, unasked.
  ~GroupResolver() override;
  Pivot::TypeData typeData() const override;

  Pivot::String const& groupName() const { return groupName_; }

  // Who may call what belongs to the group.
  CallCheck const& callCheck() const { return callCheck_; }

  // Queues an entry behind all entries of the same table object. Entries without a table object (null) share
  // one queue. REQUIRES: entry is not null and not queued.
  void resolverQueueEnq(Pivot::Ptr<ResolverEntry> entry, OrderedSwTable const* queue = nullptr);
  // Something that any head may wait for can have changed: room in a log, a state.
  void updateGenId() {
    if (enqueued_) {
      enqueued_ = false;
    } else {
      ++genId_;
    }
  }
  // A resource that a head may wait for has changed. Not for a resource that was only just made: nobody waits
  // for it yet.
  void noticeResource() { ++genId_; }
  // Has something that was set aside done again, once.
  void retryIs(Retry& retry);
  // Suspends a resolver in which nothing is queued and nothing set aside. An enqueue ends that.
  void maybeUpdateSuspend() { suspended_ = length_ == 0 && retries_.empty(); }

  // Commits at most budget entries and returns how many. An exception that leaves an entry or a response
  // handler ends the process with its text: the operation is neither done nor undone, and no state to go on
  // from is known.
  std::size_t turn(std::size_t budget) {
    if (suspended_) return 0;
    return turnActive(budget);
  }

  bool suspended() const { return suspended_; }
  // Whether a turn now would ask somebody, apart from heads whose time to be asked again has come.
  bool needsTurn() const {
    return !due_.empty() || (genId_ != takenGenId_ && (!waiting_.empty() || !retries_.empty()));
  }
  // When the head that has waited longest is asked again without a notice, or what was set aside is done again;
  // 0 when nothing waits.
  std::uint64_t nextAskTime() const {
    std::uint64_t const never = ~std::uint64_t{0};
    std::uint64_t const first = std::min(waiting_.empty() ? never : waiting_.front().askedAt(),
                                         retries_.empty() ? never : retriedAt_);
    return first == never ? 0 : first + kReaskNanoseconds;
  }

  std::size_t queueLength(OrderedSwTable const* queue) const;
  // Entries in all queues.
  std::size_t length() const { return length_; }
  std::size_t waitingHeads() const { return waiting_.size(); }
  // The heads of all queues that are not empty, the one that was enqueued first in front.
  std::vector<Head> heads() const;
  // The head of one queue; without an entry when nothing is queued there.
  Head head(OrderedSwTable const* queue) const;
  // A walk over a queue that may rest between two steps, whatever is queued and committed meanwhile: the entry
  // behind `after`, or the head when `after` is null or has left; null at the end. It asks nobody. REQUIRES:
  // `after` was queued in this queue.
  Pivot::Ptr<ResolverEntry> queuedAfter(OrderedSwTable const* queue,
                                        Pivot::Ptr<ResolverEntry> const& after) const;
  // The number of an entry among all that were ever queued, and that of the last one.
  static std::uint64_t sequence(ResolverEntry const& entry) { return ResolverQueue::sequence(entry); }
  std::uint64_t lastSequence() const { return nextSequence_ - 1; }
  // For how long an entry has been queued.
  std::uint64_t ageNanoseconds(ResolverEntry const& entry) const {
    return clock_() - ResolverQueue::enqueuedAt(entry);
  }

  // Drops all entries, unasked.
  void delAll();
  // The same for the take-down of the group: nobody may call its tables from now on.
  void takeDown();

  // For tests: the clock by which heads are asked again. Null brings back the system's.
  void clockIs(Clock clock);

 private:
  std::size_t turnActive(std::size_t budget);
  void wakeByTime();
  void takeNotices();
  void retryAll();
  bool ask(ResolverQueue& queue);
  void wake(ResolverQueue& queue);
  void dueIs(ResolverQueue& queue);
  ResolverQueue& popDue();
  ResolverQueue& queueFor(OrderedSwTable const* queue);
  ResolverQueue const* find(OrderedSwTable const* queue) const;
  Head headOf(ResolverQueue const& queue) const;
  void commitHead(ResolverQueue& queue);
  static void dependencyChanged(Pivot::Publisher* publisher, Pivot::Subscriber* subscriber,
                                Pivot::FieldId field, void const* key, void const* old);

  Pivot::String groupName_;
  CallCheck callCheck_;
  Clock clock_;
  std::unordered_map<OrderedSwTable const*, Pivot::Ptr<ResolverQueue>> queues_;
  // The queue of the last enqueue: operations come in runs for one table.
  ResolverQueue* lastQueue_ = nullptr;
  // Heads to be asked: a heap by sequence, the one enqueued first on top. Room for all queues is reserved
  // when a queue is made.
  std::vector<ResolverQueue*> due_;
  // Heads that said that they wait, in the order in which they were asked.
  ResolverQueue::WaitingList waiting_;
  // In the order in which they came; and when they were tried last, or the first of them came.
  boost::intrusive::list<Retry, boost::intrusive::constant_time_size<false>> retries_;
  std::uint64_t retriedAt_ = 0;
  std::size_t length_ = 0;
  std::uint64_t nextSequence_ = 1;
  LatencySampler latencySampler_;
  std::uint64_t genId_ = 0;
  // The notices up to here have been taken up.
  std::uint64_t takenGenId_ = 0;
  // An entry was enqueued and neither its updateGenId() nor a turn has come yet.
  bool enqueued_ = false;
  bool suspended_ = true;
  bool inTurn_ = false;
};

}  // namespace Asic
