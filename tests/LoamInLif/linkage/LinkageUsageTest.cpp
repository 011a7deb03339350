// What a linkage does with single entries, and how it keeps account of the committed entries that use a
// resource key: who acknowledges, who releases, and in which order.
#include "LinkageFixture.h"
#include "support/TraceCapture.h"

namespace LinkageTests {

template <class C>
class LinkageUsage : public LinkageTest<C> {};
TYPED_TEST_SUITE(LinkageUsage, Cases);

TYPED_TEST(LinkageUsage, TheFirstUseAcknowledgesAndTheLastReleases) {
  this->commit(7, this->key(0));
  EXPECT_EQ(1u, this->held(0));
  EXPECT_EQ(1u, this->ackedBy(0));
  this->commit(8, this->key(0));
  EXPECT_EQ(2u, this->users(0));
  EXPECT_EQ(1u, this->ackedBy(0)) << "a further user does not acknowledge";
  EXPECT_EQ(1u, this->linkage->entryUsageSms());
  {
    Listener account(this->linkage->publisher());
    this->commit(7, this->key(0));
    EXPECT_EQ(2u, this->users(0));
    EXPECT_TRUE(account.said().empty()) << "a rewrite with the same key touches nothing";
  }

  this->remove(7);
  EXPECT_EQ(1u, this->held(0));
  EXPECT_FALSE(this->report(0).postRelease);
  this->remove(8);
  EXPECT_EQ(0u, this->held(0));
  EXPECT_TRUE(this->report(0).postRelease);
  EXPECT_EQ(nullptr, this->linkage->entryUsageSm(this->key(0)));

  this->commit(7, this->key(0));
  EXPECT_EQ(6u, this->ackedBy(0)) << "a key that comes back is a first use again";
}

TYPED_TEST(LinkageUsage, ATraceTellsTheOldEntryWhole) {
  TestSupport::TraceCapture const trace(TestFixture::Linkage::className, 8);
  this->commit(7, this->key(0));
  EXPECT_TRUE(trace.has(fmt::format("key: 7, isDeleted: false, oldEntry:{}", InLifModelEntry())));
  auto const old = this->committed[7];
  this->commit(7, this->key(1));
  EXPECT_TRUE(trace.has(fmt::format("key: 7, isDeleted: false, oldEntry:{}", old)));
}

TYPED_TEST(LinkageUsage, AMoveReleasesTheOldKeyBeforeItTakesTheNewOne) {
  this->commit(7, this->key(0));
  std::uint32_t heldAtRelease = 99;
  Listener handleOfOld(this->resources->handle(this->key(0))->publisher());
  handleOfOld.react = [&](void const*) { heldAtRelease = this->held(1); };
  this->commit(7, this->key(1));
  EXPECT_EQ(0u, heldAtRelease) << "the new key was not taken yet";
  EXPECT_EQ(0u, this->held(0));
  EXPECT_EQ(1u, this->held(1));

  this->commit(8, this->key(2));
  this->commit(7, this->key(2));
  EXPECT_EQ(2u, this->users(2));
  EXPECT_EQ(3u, this->ackedBy(2)) << "a key that another entry uses is not acknowledged again";
  EXPECT_EQ(0u, this->held(1));
}

TYPED_TEST(LinkageUsage, TheNullKeyIsNeverAskedForNorCounted) {
  using Fixture = TestFixture;
  TestSupport::TraceCapture const trace(Fixture::Linkage::className, 3);
  this->commit(7, Fixture::Kind::nullKey());
  EXPECT_EQ(0u, this->resources->entrys());
  EXPECT_EQ(0u, this->linkage->entryUsageSms());
  EXPECT_EQ(1u, trace.countContaining("Null resKey: "));

  this->commit(7, this->key(0));
  EXPECT_EQ(1u, this->users(0));
  this->commit(7, Fixture::Kind::nullKey());
  EXPECT_EQ(0u, this->held(0));
  EXPECT_EQ(0u, this->linkage->entryUsageSms());
  EXPECT_EQ(2u, trace.countContaining("Null resKey: "));

  auto const wrapper = this->written(7, this->key(0));
  auto const handle = this->linkage->resourceHandle(wrapper);
  auto keys = wrapper->rsrcKeys();
  keys.*Fixture::Kind::keyField = Fixture::Kind::nullKey();
  wrapper->rsrcKeysIs(keys);
  this->linkage->resolveEntry(wrapper);
  EXPECT_EQ(handle, this->linkage->resourceHandle(wrapper)) << "the handle that is there stays";
}

TYPED_TEST(LinkageUsage, ARestoreAsAWholeLeavesTheAccountOfSingleSteps) {
  using Account = std::vector<std::pair<Pivot::String, std::vector<SwKey>>>;
  auto const restoreAll = [this] {
    for (unsigned i = 0; i < 300; ++i) this->linkage->restoreEntry(this->written(i, this->key(i * i % 61)));
  };
  auto const account = [this] {
    Account all;
    for (auto sm = this->linkage->entryUsageSmFirst(); sm;
         sm = this->linkage->entryUsageSmAfter(sm->resKey())) {
      EXPECT_TRUE(sm->hasNotificationActive());
      auto& users = all.emplace_back(sm->resKey().text(), std::vector<SwKey>()).second;
      for (SwKey const user : sm->entryUsage()) users.push_back(user);
    }
    return all;
  };
  restoreAll();
  auto const expected = account();
  this->linkage = Pivot::make<typename TestFixture::Linkage>(nullptr, this->resources->makeClientInstance());
  EXPECT_TRUE(this->linkage->beginRestore());
  restoreAll();
  EXPECT_EQ(0u, this->linkage->entryUsageSms());
  EXPECT_TRUE(this->linkage->endRestore());
  EXPECT_EQ(expected, account());
}

TYPED_TEST(LinkageUsage, ARestoreAsAWholeSeesResourcesChange) {
  auto const stateIs = [this](unsigned n, Asic::EntryState state) {
    EXPECT_TRUE(this->resources->stateIs(this->key(n), state).isOk());
  };
  stateIs(1, Asic::EntryState::entryStateFailed);
  EXPECT_TRUE(this->linkage->beginRestore());
  this->linkage->restoreEntry(this->written(7, this->key(0)));
  this->linkage->restoreEntry(this->written(8, this->key(1)));
  EXPECT_EQ(0u, this->users(0));
  EXPECT_EQ(1u, this->users(1)) << "it waits for a notification";
  this->linkage->entryUsageSm(this->key(1))->entryUsageDel(SwKey(8));  // no table to update it in
  stateIs(1, Asic::EntryState::entryStateDone);
  this->linkage->restoreEntry(this->written(9, this->key(1)));
  stateIs(0, Asic::EntryState::entryStateFailed);
  EXPECT_FALSE(this->linkage->endRestore());
  EXPECT_EQ(1u, this->users(0));
  EXPECT_EQ(1u, this->users(1));
}

TYPED_TEST(LinkageUsage, SetResourceHandleKnowsOnlyWhatIsInUse) {
  using Fixture = TestFixture;
  InLifModelEntry entry;
  entry.rsrcKeys.*Fixture::Kind::keyField = this->key(0);
  auto const wrapper = Pivot::make<typename Fixture::EntryWrapper>(entry, receipt(1u));
  this->linkage->setResourceHandle(wrapper);
  EXPECT_EQ(nullptr, this->linkage->resourceHandle(wrapper));
  EXPECT_EQ(0u, this->resources->entrys()) << "the resource table is not asked";

  this->commit(7, this->key(0));
  this->linkage->setResourceHandle(wrapper);
  EXPECT_EQ(this->resources->handle(this->key(0)), this->linkage->resourceHandle(wrapper));
}

TYPED_TEST(LinkageUsage, TheStateOfAResourceSaysHowFarAnEntryIs) {
  using State = Asic::EntryState;
  auto const wrapper = this->written(7, this->key(0));
  struct Row {
    State ofResource, ofEntry;
  };
  for (Row row : {Row{State::entryStateUnresolved, State::entryStateUnresolved},
                  Row{State::entryStateInLog, State::entryStateUnresolved},
                  Row{State::entryStateRejected, State::entryStateResolveFailed},
                  Row{State::entryStateDone, State::entryStateDone},
                  Row{State::entryStateFailed, State::entryStateResolveFailed},
                  Row{State::entryStateResolveFailed, State::entryStateResolveFailed}}) {
    ASSERT_TRUE(this->resources->stateIs(this->key(0), row.ofResource).isOk());
    EXPECT_EQ(row.ofEntry, this->linkage->entryResolutionState(wrapper))
        << Asic::entryStateName(row.ofResource);
  }
  EXPECT_EQ(State::entryStateDone, this->linkage->entryResolutionState(nullptr));
  EXPECT_TRUE(this->linkage->resourceKey(nullptr).isEq(TestFixture::Kind::nullKey()));
  EXPECT_EQ(nullptr, this->linkage->resourceHandle(nullptr));
  EXPECT_TRUE(this->linkage->getNeededEntrySet(nullptr)->empty());
  this->linkage->restoreEntry(nullptr);
  EXPECT_EQ(0u, this->linkage->entryUsageSms());
  auto const needsNone = this->written(8, TestFixture::Kind::nullKey());
  EXPECT_EQ(State::entryStateDone, this->linkage->entryResolutionState(needsNone));
}

}  // namespace LinkageTests
