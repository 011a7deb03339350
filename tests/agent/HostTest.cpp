// A host as whoever embeds one uses it: the descriptor, the deadline and the turns of its loop, and that nothing of it is
// left. What it tells as data the tests of the tools look at, which print it.
#include <poll.h>

#include "AgentLife.h"
#include "agent/Status.h"

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

}  // namespace
