// The resolver's round: which heads are due, asking them in the order in which they were enqueued,
// committing.
//
// A head moves between the heap of the due and the list of the waiting. Becoming head, a notice, the
// dependency's change and time put it into the heap; the answer "not yet" puts it at the end of the list,
// which therefore stands in the order of asking, so that time only looks at its front. The heap's top is the
// earliest of all heads that may commit: a waiting head that was enqueued before it has said no, and nothing
// has happened since that could change its answer (R3).
#include "Asic/GroupResolver.h"

#include <algorithm>
#include <utility>

#include "Asic/EndOnException.h"
#include "Asic/OrderedSwTable.h"
#include "Vex/Assert.h"
#include "Vex/System.h"
#include "Vex/Trace.h"

namespace Asic {

namespace {

Vex::TraceHandle traceHandle("GroupResolver");

// For a heap whose top is the earliest.
bool later(ResolverQueue const* a, ResolverQueue const* b) {
  return a->headSequence() > b->headSequence();
}

}  // namespace

GroupResolver::GroupResolver(Pivot::String groupName)
    : groupName_(std::move(groupName)), clock_(&Vex::System::coarseNanoseconds) {}

GroupResolver::~GroupResolver() {
  delAll();
}

void GroupResolver::clockIs(Clock clock) {
  clock_ = clock != nullptr ? clock : &Vex::System::coarseNanoseconds;
}

ResolverQueue& GroupResolver::queueFor(OrderedSwTable const* queue) {
  if (lastQueue_ != nullptr && lastQueue_->key() == queue) return *lastQueue_;
  Pivot::Ptr<ResolverQueue>& found = queues_[queue];
  if (found == nullptr) {
    found = Pivot::make<ResolverQueue>(this, queue);
    due_.reserve(queues_.size());
  }
  lastQueue_ = found.get();
  return *found;
}

void GroupResolver::resolverQueueEnq(Pivot::Ptr<ResolverEntry> entry, OrderedSwTable const* key) {
  VEX_ASSERT(entry != nullptr, "resolverEntry");
  ResolverQueue& queue = queueFor(key);
  std::uint64_t const now = clock_();
  std::uint64_t const sequence = nextSequence_++;
  queue.enq(std::move(entry), sequence, now, latencySampler_.weight(sequence, now));
  ++length_;
  enqueued_ = true;
  suspended_ = false;
  if (queue.standing() == ResolverQueue::Standing::empty) dueIs(queue);
}

void GroupResolver::dueIs(ResolverQueue& queue) {
  queue.standingIs(ResolverQueue::Standing::due);
  due_.push_back(&queue);
  std::push_heap(due_.begin(), due_.end(), later);
}

ResolverQueue& GroupResolver::popDue() {
  std::pop_heap(due_.begin(), due_.end(), later);
  ResolverQueue& queue = *due_.back();
  due_.pop_back();
  queue.standingIs(ResolverQueue::Standing::taken);
  return queue;
}

void GroupResolver::wake(ResolverQueue& queue) {
  waiting_.erase(waiting_.iterator_to(queue));
  queue.unsubscribeDependency();
  dueIs(queue);
}

void GroupResolver::takeNotices() {
  if (takenGenId_ == genId_) return;
  takenGenId_ = genId_;
  retryAll();
  while (!waiting_.empty()) wake(waiting_.front());
}

void GroupResolver::retryIs(Retry& retry) {
  if (retry.is_linked()) return;
  if (retries_.empty()) retriedAt_ = clock_();
  retries_.push_back(retry);
  suspended_ = false;
}

// Each comes once: what is left of one has asked for the next time by then.
void GroupResolver::retryAll() {
  if (retries_.empty()) return;
  retriedAt_ = clock_();
  decltype(retries_) now;
  now.swap(retries_);
  while (!now.empty()) {
    Retry& retry = now.front();
    now.pop_front();
    endOnException("an exception left what was set aside for want of room", [&] { retry.retry(); });
  }
}

void GroupResolver::wakeByTime() {
  if (waiting_.empty() && retries_.empty()) return;
  std::uint64_t const now = clock_();
  if (!retries_.empty() && now - retriedAt_ >= kReaskNanoseconds) retryAll();
  while (!waiting_.empty() && now - waiting_.front().askedAt() >= kReaskNanoseconds) wake(waiting_.front());
}

void GroupResolver::dependencyChanged(Pivot::Publisher*, Pivot::Subscriber* subscriber, Pivot::FieldId,
                                      void const*, void const*) {
  ResolverQueue& queue = *static_cast<ResolverQueue*>(subscriber);
  if (!queue.headWaitsForDependency()) queue.resolver()->wake(queue);
}

std::size_t GroupResolver::turnActive(std::size_t budget) {
  callCheck_.check("GroupResolver::turn");
  if (inTurn_) return 0;
  inTurn_ = true;
  enqueued_ = false;
  wakeByTime();
  takeNotices();
  std::size_t committed = 0;
  while (committed < budget && !due_.empty()) {
    ResolverQueue& queue = popDue();
    if (ask(queue)) {
      commitHead(queue);
      ++committed;
      takeNotices();
    }
  }
  inTurn_ = false;
  maybeUpdateSuspend();
  return committed;
}

bool GroupResolver::ask(ResolverQueue& queue) {
  bool const resolved = endOnException("an exception left the resolution check of an entry",
                                       [&] { return queue.head()->isResolved(); });
  if (resolved) return true;
  queue.askedInc(clock_());
  VEX_TRACE(traceHandle, 9, "group: {}, queue length: {}, asked: {}, waits for dependency: {}", groupName_,
            queue.length(), queue.asked(), queue.headWaitsForDependency());
  queue.subscribeDependency(&GroupResolver::dependencyChanged);
  queue.standingIs(ResolverQueue::Standing::waiting);
  waiting_.push_back(queue);
  return false;
}

void GroupResolver::commitHead(ResolverQueue& queue) {
  // The queue is left before the commit, which may enqueue into it.
  Pivot::Ptr<ResolverEntry> const entry = queue.deq();
  queue.passHead(*entry);
  --length_;
  if (queue.length() == 0) {
    queue.standingIs(ResolverQueue::Standing::empty);
  } else {
    dueIs(queue);
  }
  endOnException("an exception left the commit of an entry or a response handler",
                 [&] { entry->commitEntry(entry); });
}

ResolverQueue const* GroupResolver::find(OrderedSwTable const* queue) const {
  auto const at = queues_.find(queue);
  return at == queues_.end() ? nullptr : at->second.get();
}

std::size_t GroupResolver::queueLength(OrderedSwTable const* queue) const {
  ResolverQueue const* const found = find(queue);
  return found == nullptr ? 0 : found->length();
}

Pivot::Ptr<ResolverEntry> GroupResolver::queuedAfter(OrderedSwTable const* queue,
                                                     Pivot::Ptr<ResolverEntry> const& after) const {
  ResolverQueue const* const found = find(queue);
  return found == nullptr ? nullptr : found->after(after.get());
}

GroupResolver::Head GroupResolver::headOf(ResolverQueue const& queue) const {
  return {queue.key(),    queue.head(),
          queue.length(), ageNanoseconds(*queue.head()),
          queue.asked(),  queue.headWaitsForDependency()};
}

GroupResolver::Head GroupResolver::head(OrderedSwTable const* queue) const {
  ResolverQueue const* const found = find(queue);
  return found == nullptr || found->length() == 0 ? Head{queue, nullptr, 0, 0, 0, false} : headOf(*found);
}

std::vector<GroupResolver::Head> GroupResolver::heads() const {
  std::vector<ResolverQueue const*> order;
  for (auto const& [key, queue] : queues_) {
    if (queue->length() != 0) order.push_back(queue.get());
  }
  std::sort(order.begin(), order.end(), [](auto const* a, auto const* b) { return later(b, a); });
  std::vector<Head> heads;
  heads.reserve(order.size());
  for (ResolverQueue const* queue : order) heads.push_back(headOf(*queue));
  return heads;
}

void GroupResolver::takeDown() {
  callCheck_.takenDown();
  delAll();
}

void GroupResolver::delAll() {
  waiting_.clear();
  retries_.clear();
  due_.clear();
  length_ = 0;
  for (auto const& [key, queue] : queues_) {
    queue->standingIs(ResolverQueue::Standing::empty);
    queue->delAll();
  }
  maybeUpdateSuspend();
}

}  // namespace Asic
