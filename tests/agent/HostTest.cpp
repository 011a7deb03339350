// A host as whoever embeds one uses it: the descriptor, the deadline and the turns of its loop, and that nothing of it is
// left. What it tells as data the tests of the tools look at, which print it.
#include <poll.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "AgentLife.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "agent/Loop.h"
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

TEST_F(HostTest, theBacklogIsAsOldAsItsOldestVersionWhateverWasReportedBefore) {
  auto const table = unit(kInLif1, 5);
  for (std::uint32_t key = 1; key <= 3; ++key) {
    settle();
    EXPECT_TRUE(host_->behind().empty());
    auto const begin = Host::Clock::now();
    write(*table, key);
    while (host_->behind().empty()) host_->turn();
    EXPECT_LE(host_->behind().at(0).age, Host::Clock::now() - begin);
    std::this_thread::sleep_for(20ms);
    EXPECT_GE(host_->behind().at(0).age, 20ms);
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

// L1 of the loop; what is posted from another thread ends the wait.
TEST_F(HostTest, aLoopGivesTurnsAndCallsWhatIsReadableOrPosted) {
  restart_.emplace(*host_, Restart::Options());
  TestSupport::mustBeOk(restart_->clients().open({"ports"}));
  Loop loop(*host_, *restart_);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_TRUE(loop.open().isOk());
  EXPECT_FALSE(loop.descriptorAdd(-1, [] {}).isOk());
  std::vector<std::string> calls;
  TestSupport::mustBeOk(loop.descriptorAdd(ends[0], [&] {
    calls.push_back("readable");
    loop.descriptorDel(ends[0]);
    loop.post([&] { calls.push_back("posted within"), loop.stop(); });
  }));
  auto const me = std::this_thread::get_id();
  std::thread other([&] {
    std::this_thread::sleep_for(50ms);
    loop.post([&] {
      calls.push_back(std::this_thread::get_id() == me ? "posted" : "elsewhere");
      write(*unit(kInLif1, 5), 1);
      TestSupport::mustBeOk(restart_->clients().replayedIs("ports"));
      EXPECT_EQ(::write(ends[1], "x", 1), 1);
    });
  });
  auto const begin = Host::Clock::now();
  EXPECT_TRUE(loop.run().isOk());
  other.join();
  EXPECT_LT(Host::Clock::now() - begin, 900ms) << "the wait was ended by its deadline";
  EXPECT_EQ(calls, (std::vector<std::string>{"posted", "readable", "posted within"}));
  EXPECT_EQ(restart_->sweeps(), 1u);
  EXPECT_EQ(statusOf(*host_).tables[kInLif1].written.value(), 1u)
      << "the write was committed by a turn of the loop";
  close(ends[0]);
  close(ends[1]);
  loop.post([] { throw std::runtime_error("the first"); });
  loop.post([&] { loop.stop(); });
  EXPECT_THROW(static_cast<void>(loop.run()), std::runtime_error);
  EXPECT_TRUE(loop.run().isOk()) << "what was posted behind it was lost";
}

TEST_F(HostTest, aTableIsMadeByItsClassAndMadeAgainTakesTheHelper) {
  using LoamInLif::InLif1SwTableHelperBase;
  Pivot::Ptr<LoamInLif::InLif1SwTable> table, again;
  auto const helper = Pivot::make<InLif1SwTableHelperBase>();
  TestSupport::mustBeOk(host_->makeTable<LoamInLif::InLif1>(5, table));
  TestSupport::mustBeOk(host_->makeTable<LoamInLif::InLif1>(5, again, helper));
  EXPECT_EQ(table, again);
  EXPECT_EQ(table->swTableHelper(), helper);
}

}  // namespace
