// Lives of an agent one after the other: who is waited for, what a sweep and a reconciliation would do and do, and what
// holds them back.
#include <gmock/gmock.h>

#include "AgentLife.h"
#include "agent/RestartPlans.h"

namespace {

using namespace AgentLife;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using What = Restart::Turn::What;

class RestartTest : public AgentLife::Test {
 protected:
  RestartClients& clients() { return restart_->clients(); }
  // Units with the keys 1 and 2 each, of a life that has ended.
  void left(std::vector<Asic::UnitId> const& units) {
    begin();
    for (Asic::UnitId const one : units) {
      auto const table = unit(kInLif1, one);
      for (std::uint32_t key : {1U, 2U}) write(*table, key);
    }
    settle();
  }
};

// C1, C2 of the clients.
TEST_F(RestartTest, aNameIsRememberedBeforeItIsKnownAndWaitedForUntilItHasReplayed) {
  begin({}, {"stp"});
  memory_.full = true;
  EXPECT_EQ(clients().add("bgp").message(), "full");
  EXPECT_FALSE(clients().knows("bgp"));
  memory_.full = false;
  EXPECT_TRUE(clients().add("bgp").isOk());
  EXPECT_THAT(memory_.names, ElementsAre("bgp"));
  for (std::string const& bad : {std::string(), std::string(RestartClients::kMostName + 1, 'x')})
    EXPECT_THAT(clients().add(bad).message(), HasSubstr("expected 1 to 64 bytes"));
  begin();
  EXPECT_THAT(clients().withoutReplay(), ElementsAre("bgp")) << "who was only expected is not remembered";
  EXPECT_THAT(clients().replayedIs("ospf").message(), HasSubstr("one that has registered: bgp"));
  EXPECT_TRUE(clients().replayedIs("bgp").isOk());
  clients().replayAgain();
  EXPECT_FALSE(clients().takeSweepDue()) << "what was said before the mark does not count";
  EXPECT_TRUE(clients().forget("bgp").isOk());
  EXPECT_THAT(memory_.names, IsEmpty());
  for (std::size_t i = 0; i < RestartClients::kMostClients; ++i)
    EXPECT_TRUE(clients().add("client" + std::to_string(i)).isOk());
  EXPECT_THAT(clients().add("bgp").message(), HasSubstr("256 clients are known"));
}

// S1, S2.
TEST_F(RestartTest, aSweepWaitsForEveryClientAndItsLimitHoldsItBack) {
  left({0, 1});
  begin({50, 1s}, {"stp"});
  unit(kInLif1, 0);
  unit(kInLif1, 1);
  write(*unit(kInLif1, 0), 1);
  settle();
  std::vector<Host::Swept> swept;
  EXPECT_THAT(restart_->sweep(100, swept).message(), HasSubstr("waits for stp"));
  EXPECT_EQ(restart_->turn().what, What::nothing);
  EXPECT_LE(restart_->nextDeadline(), Host::Clock::now() + 1s);
  std::this_thread::sleep_until(restart_->nextDeadline());
  Restart::Turn turn = restart_->turn();
  EXPECT_EQ(turn.what, What::alarmed);
  EXPECT_THAT(turn.waitsFor, ElementsAre("stp"));
  EXPECT_EQ(restart_->turn().what, What::nothing) << "the alarm only tells, once";

  SweepPlanWalk walk(*host_);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> plans;
  for (PlanStep step = walk.step(); step != PlanStep::end; step = walk.step())
    if (step == PlanStep::unit) plans.emplace_back(walk.plan().go, walk.plan().stay);
  EXPECT_THAT(plans, ElementsAre(std::pair(1, 1), std::pair(2, 0)));

  EXPECT_TRUE(clients().replayedIs("stp").isOk());
  turn = restart_->turn();
  EXPECT_EQ(turn.what, What::refused);
  EXPECT_THAT(turn.refusal, HasSubstr("2 of 2 entries of InLif1 unit 1, 100 percent"));
  EXPECT_EQ(unit(kInLif1, 0)->entrys(), 2u) << "its own half was within the limit";
  EXPECT_TRUE(restart_->sweep(100, swept).isOk());
  ASSERT_EQ(swept.size(), 2u);
  EXPECT_EQ(swept[0].removed, 1u);
  EXPECT_EQ(swept[1].kept, 0u);
  settle();
  restart_->mark({kInLif1, 0});
  EXPECT_THAT(restart_->sweep(100, swept).message(), HasSubstr("waits for stp"));
  EXPECT_TRUE(clients().replayedIs("stp").isOk());
  turn = restart_->turn();
  EXPECT_EQ(turn.what, What::refused) << "nothing of unit 0 was written again";
}

// S3.
TEST_F(RestartTest, aUnitIsClearedOnlyWhenAllHaveMadeTheirs) {
  left({0, 5});
  begin();
  unit(kInLif1, 0);
  EXPECT_THAT(restart_->mayReconcile().message(), HasSubstr("no client is known"));
  EXPECT_TRUE(clients().add("bgp").isOk());
  EXPECT_THAT(restart_->mayReconcile().message(), HasSubstr("waits for bgp"));
  EXPECT_TRUE(clients().unitsMadeIs("bgp").isOk());
  EXPECT_TRUE(restart_->mayReconcile().isOk());
  UnservedWalk walk(*host_);
  PlanStep step = walk.step();
  while (step == PlanStep::goesOn) step = walk.step();
  ASSERT_EQ(step, PlanStep::unit);
  EXPECT_EQ(walk.place(), (UnitPlace{kInLif1, 5}));
  EXPECT_EQ(walk.entries(), 2u);
  EXPECT_EQ(walk.step(), PlanStep::end);
  EXPECT_TRUE(clients().add("lag").isOk());
  EXPECT_THAT(restart_->reconcileUnit(walk.place()).message(),
              HasSubstr("waits for lag, which has come meanwhile"));
  EXPECT_EQ(host_->unserved().size(), 1u);
  EXPECT_TRUE(clients().unitsMadeIs("lag").isOk());
  EXPECT_TRUE(restart_->reconcileUnit(walk.place()).isOk());
  restart_->reconcileRest();
  EXPECT_THAT(host_->unserved(), IsEmpty());
}

}  // namespace
