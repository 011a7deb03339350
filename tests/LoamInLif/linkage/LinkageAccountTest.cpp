// The account of a linkage as a published collection, and its members as subscribers of resource handles:
// what subscribers may do from within, what the destructors leave behind, what is refused.
#include "LinkageFixture.h"
#include "Vex/Exceptions.h"
#include "support/TraceCapture.h"

namespace LinkageTests {

using Said = std::vector<std::string>;

template <class C>
class LinkageAccount : public LinkageTest<C> {
 public:
  Pivot::Ptr<typename LinkageTest<C>::Sm> enter(unsigned n) {
    return this->linkage->entryUsageSmIs(request(n));
  }
  auto request(unsigned n) { return this->linkage->resTblClient()->request(this->key(n), nullptr); }
};
TYPED_TEST_SUITE(LinkageAccount, Cases);

TYPED_TEST(LinkageAccount, EntersAndLeavesWithAPublication) {
  Listener account(this->linkage->publisher());
  auto const sm = this->enter(0);
  EXPECT_EQ(sm, this->enter(0)) << "a second time it is found";
  EXPECT_EQ(this->linkage.get(), sm->parent());
  EXPECT_TRUE(sm->resKey().isEq(this->key(0)));
  EXPECT_TRUE(sm->hasNotificationActive());
  EXPECT_EQ(Said{"138"}, account.said());

  EXPECT_EQ(sm, this->linkage->entryUsageSmDel(this->key(0)));
  EXPECT_FALSE(sm->hasNotificationActive());
  EXPECT_EQ(nullptr, sm->parent());
  EXPECT_EQ(nullptr, this->linkage->entryUsageSmDel(this->key(0)));
  EXPECT_EQ(Said{"138"}, account.said());
}

TYPED_TEST(LinkageAccount, RefusesANullHandleAndASecondHandleOfAKey) {
  EXPECT_THROW(this->linkage->entryUsageSmIs(nullptr), Vex::NullArgumentException);
  auto const sm = this->enter(0);
  auto const other = this->makeResourceTable()->makeClientInstance();
  EXPECT_THROW(this->linkage->entryUsageSmIs(other->request(this->key(0), nullptr)),
               Vex::ReinstantiatingException);
  EXPECT_EQ(sm, this->linkage->entryUsageSm(this->key(0)));
}

TYPED_TEST(LinkageAccount, DelAllSurvivesASubscriberThatChangesTheAccount) {
  for (unsigned n = 0; n < 8; ++n) this->enter(n);
  Listener account(this->linkage->publisher());
  unsigned next = 8;
  account.react = [&](void const*) {
    this->linkage->entryUsageSmDel(this->key(3));
    if (next < 12) this->enter(next++);
  };
  this->linkage->entryUsageSmDelAll();
  for (unsigned n = 0; n < 8; ++n) EXPECT_EQ(nullptr, this->linkage->entryUsageSm(this->key(n)));
}

TYPED_TEST(LinkageAccount, ASubscriberMayTakeTheNewMemberAwayAgain) {
  Listener account(this->linkage->publisher());
  account.react = [&](void const*) { this->linkage->entryUsageSmDel(this->key(0)); };
  auto const sm = this->enter(0);
  ASSERT_NE(nullptr, sm);
  EXPECT_EQ(nullptr, sm->parent());
  EXPECT_EQ(0u, this->linkage->entryUsageSms());
  sm->handleResourceChange();
}

TYPED_TEST(LinkageAccount, ASubscriberMayDropTheLinkage) {
  auto doomed = Pivot::make<typename TestFixture::Linkage>(nullptr, this->resources->makeClientInstance());
  auto const sm = doomed->entryUsageSmIs(this->request(0));
  Listener dropper(doomed->publisher());
  dropper.react = [&](void const*) {
    dropper.leave();
    doomed = nullptr;
  };
  EXPECT_EQ(sm, doomed->entryUsageSmDel(this->key(0)));
  EXPECT_EQ(nullptr, sm->parent());
}

TYPED_TEST(LinkageAccount, ALinkageThatGoesReleasesNothingAndLeavesNobodyBehind) {
  using Fixture = TestFixture;
  auto const smsBefore = Fixture::Sm::memAllocationTracker_.count();
  auto const linkagesBefore = Fixture::Linkage::memAllocationTracker_.count();
  for (unsigned n = 0; n < 3; ++n) this->commit(n, this->key(n));
  auto sm = this->linkage->entryUsageSm(this->key(1));
  this->linkage = nullptr;
  EXPECT_EQ(linkagesBefore - 1, Fixture::Linkage::memAllocationTracker_.count());
  EXPECT_EQ(smsBefore + 1, Fixture::Sm::memAllocationTracker_.count());
  EXPECT_FALSE(this->report(0).postRelease);
  EXPECT_EQ(nullptr, sm->swTable());
  ASSERT_TRUE(this->resources->stateIs(this->key(1), Asic::EntryState::entryStateFailed).isOk());
  sm = nullptr;
  EXPECT_EQ(smsBefore, Fixture::Sm::memAllocationTracker_.count());
}

TYPED_TEST(LinkageAccount, OnlyField517OfAnActiveMemberIsHandledAndOfNoReleasedResource) {
  TestSupport::TraceCapture const trace(TestFixture::Linkage::className, 3);
  auto const sm = this->enter(0);
  auto const publish = [&](Pivot::FieldId field) {
    this->resources->handle(this->key(0))->publisher()->publish(field);
    return this->held(0);
  };
  EXPECT_EQ(0u, publish(516));
  sm->vexDoZombieReactors(true);
  EXPECT_EQ(0u, publish(517));
  sm->vexDoZombieReactors(false);
  sm->hasNotificationActiveIs(false);
  EXPECT_EQ(0u, publish(517));
  EXPECT_FALSE(sm->markAndSweepFlag());
  sm->hasNotificationActiveIs(true);
  sm->hasNotificationActiveIs(true);
  EXPECT_EQ(1u, publish(517)) << "a change without users is acknowledged, with no operation";
  EXPECT_EQ(0u, this->ackedBy(0));

  this->linkage->resTblClient()->release(this->request(0), receipt(2u));
  EXPECT_EQ(1u, trace.countContaining("Ignoring change for resourceKey: "));
  EXPECT_EQ(0u, this->held(0)) << "an acknowledgement would take the key again";
}

}  // namespace LinkageTests
