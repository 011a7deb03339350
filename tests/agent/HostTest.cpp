// A host as whoever embeds one uses it: the descriptor, the deadline and the turns of its loop, what it tells as data, and
// that nothing of it is left.
#include <gmock/gmock.h>
#include <poll.h>

#include "AgentLife.h"
#include "agent/Status.h"
#include "agent/WaitReport.h"

namespace {

using namespace AgentLife;
using namespace std::chrono_literals;
using Asic::EntryState;

class HostTest : public AgentLife::Test {
 protected:
  HostTest() { begin(); }

  static bool readable(int descriptor, int ms) {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, ms) == 1;
  }
  template <class Cause>
  static Cause const& causeOf(WaitCause const& cause) {
    return std::get<Cause>(cause.what);
  }
};

TEST_F(HostTest, aReportMakesTheDescriptorReadableUntilTheTurnThatPassesItOn) {
  auto const table = unit(kInLif1, 5);
  int descriptor = -1;
  ASSERT_TRUE(host_->watch(descriptor).isOk());
  settle();
  for (std::uint32_t key = 1; key <= 3; ++key) {
    auto const handle = write(*table, key);
    // What the file itself has told, or an earlier report.
    do host_->turn();
    while (readable(descriptor, 250));
    EXPECT_TRUE(host_->pending());
    EXPECT_GT(host_->nextDeadline(), Host::Clock::now());
    EXPECT_LE(host_->nextDeadline(), Host::Clock::now() + 1s);
    ASSERT_EQ(writer_->turn(10), 1u);
    ASSERT_TRUE(readable(descriptor, 5000));
    for (int i = 0; i < 1000 && host_->pending(); ++i) host_->turn();
    EXPECT_EQ(handle->entryState(), EntryState::entryStateDone);
  }
}

TEST_F(HostTest, aBudgetEndsTheCommitsOfATurn) {
  auto const table = unit(kInLif1, 5);
  for (std::uint32_t key = 0; key < 200; ++key) write(*table, key);
  EXPECT_TRUE(host_->turn(0us));
  std::uint64_t const left = statusOf(*host_).queued;
  EXPECT_GT(left, 0u);
  EXPECT_LT(left, 200u) << "each turn goes on";
  settle();
  EXPECT_FALSE(host_->pending());
}

TEST_F(HostTest, statusAndLatencyAreTold) {
  auto const table = unit(kInLif1, 5);
  write(*table, 1);
  while (host_->turn()) continue;
  AgentStatus status = statusOf(*host_);
  ASSERT_EQ(status.behind.size(), 1u);
  EXPECT_EQ(status.behind[0].table, kInLif1);
  EXPECT_EQ(status.behind[0].versions, 1u);
  ASSERT_EQ(status.tables[kInLif1].units.size(), 1u);
  EXPECT_EQ(status.tables[kInLif1].units[0].inLog, 1u);
  settle();
  status = statusOf(*host_);
  EXPECT_TRUE(status.behind.empty());
  TableStatus const& one = status.tables[kInLif1];
  EXPECT_EQ(one.taken, one.written);
  EXPECT_EQ(one.units[0].entries, 1u);
  EXPECT_EQ(one.units[0].statistics->commitCnt(), 1u);
  ASSERT_EQ(latencies(*host_).size(), 1u);
  EXPECT_EQ(latencies(*host_)[0].place, (UnitPlace{kInLif1, 5}));
  EXPECT_EQ(latencies(*host_)[0].hardware.operations, 1u);
}

// A write waits for a resource; three of another table wait for it, two of them behind the first.
TEST_F(HostTest, theWholeCauseOfAWaitIsTold) {
  auto const first = unit(kInLif0, 0);
  auto const second = unit(kInLif1, 5);
  qosProfile(9, EntryState::entryStateInLog);
  auto const awaited = write(*first, 9);
  for (std::uint32_t key = 0; key < 3; ++key) write(*second, key, awaited);
  settle();
  Asic::GroupResolver const& resolver = *host_->group().groupResolver();
  WaitReport report(*host_);
  CauseCounts counts;
  for (auto const& table : {first, second}) {
    auto const head = resolver.head(table.get());
    counts.add(head, report.root(head));
  }
  auto const causes = counts.most(10);
  ASSERT_EQ(causes.size(), 1u) << "the dependency waits for the same resource";
  EXPECT_EQ(causes[0].operations, 4u);
  EXPECT_EQ(causes[0].queues, 2u);
  EXPECT_EQ(causes[0].first.place, (UnitPlace{kInLif0, 0}));
  auto const& resource = causeOf<WaitsForResource>(causes[0].cause);
  EXPECT_EQ(resource.kind, LoamInLif::Kinds::indexOf<LoamInLif::QosProfileKind>());
  EXPECT_EQ(resource.state, EntryState::entryStateInLog);

  auto const head = resolver.queuedAfter(second.get(), nullptr);
  WaitingOperation const waits = report.operation(*second, *head);
  EXPECT_EQ(waits.key, 0u);
  ASSERT_EQ(waits.waitsFor.size(), 1u);
  EXPECT_EQ(causeOf<WaitsForOperation>(waits.waitsFor[0]).key, 9u);
  EXPECT_EQ(causeOf<WaitsForResource>(waits.waitsFor[0].heldUpBy->waitsFor[0]), resource);
  WaitingOperation const behind = report.operation(*second, *resolver.queuedAfter(second.get(), head));
  EXPECT_TRUE(std::holds_alternative<WaitsForQueue>(behind.waitsFor[0].what));
  EXPECT_EQ(behind.waitsFor[0].heldUpBy->key, 0u);

  qosProfile(9, EntryState::entryStateDone);
  settle();
  EXPECT_EQ(statusOf(*host_).queued, 0u);
}

}  // namespace
