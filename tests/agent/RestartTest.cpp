// Lives of an agent one after the other: who is remembered and waited for, and who comes in between. What a sweep and a
// reconciliation do, and what holds them back, the tests of the tools see in an agent that is a process.
#include <gmock/gmock.h>

#include "AgentLife.h"

namespace {

using namespace AgentLife;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RestartTest : public AgentLife::Test {
 protected:
  RestartClients& clients() { return restart_->clients(); }
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

// S3: also one that comes between the look at what is to be cleared and the clear.
TEST_F(RestartTest, aUnitIsClearedOnlyWhenAllHaveMadeTheirs) {
  UnitPlace const left{kInLif1, 5};
  begin();
  write(*unit(kInLif1, left.unit), 1);
  settle();
  begin();
  EXPECT_THAT(restart_->mayReconcile().message(), HasSubstr("no client is known"));
  EXPECT_TRUE(clients().add("bgp").isOk() && clients().unitsMadeIs("bgp").isOk());
  EXPECT_TRUE(restart_->mayReconcile().isOk());
  EXPECT_THAT(host_->unserved(), ElementsAre(left));
  EXPECT_TRUE(clients().add("lag").isOk());
  EXPECT_THAT(restart_->reconcileUnit(left).message(), HasSubstr("waits for lag, which has come meanwhile"));
  EXPECT_THAT(host_->unserved(), ElementsAre(left));
  EXPECT_TRUE(clients().unitsMadeIs("lag").isOk());
  EXPECT_TRUE(restart_->reconcileUnit(left).isOk());
  restart_->reconcileRest();
  EXPECT_THAT(host_->unserved(), IsEmpty());
}

}  // namespace
