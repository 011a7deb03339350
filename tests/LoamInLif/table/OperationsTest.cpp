// Operations in flight: what a reader sees of them, which versions keys get, and in which order they commit
// and end.
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using LoamInLif::QosProfileKind;
constexpr std::uint64_t kNone = ~std::uint64_t{0};

template <class I>
class Operations : public TableFixture<I> {};
TYPED_TEST_SUITE(Operations, Instances);

TYPED_TEST(Operations, AWriteIsSeenAtOnceAndDoneWhenTheHardwareHasIt) {
  auto const handle = this->write(1, 7).reports("write").go();
  EXPECT_EQ(this->read(1), 7);
  EXPECT_TRUE(this->has(1));
  EXPECT_EQ(state(handle), unresolved);
  EXPECT_EQ(this->version(1), 0u);
  EXPECT_EQ(handle->key(), EntryKey(1));
  EXPECT_FALSE(this->table().entryFromConfig(EntryKey(1)));
  EXPECT_EQ(this->resolve(), 1u);
  EXPECT_EQ(state(handle), inLog);
  EXPECT_EQ(handle->entryTableVersion(), Asic::TableVersion(TypeParam::tableId, handle->logVersion()));
  EXPECT_EQ(this->ended(), Ended{});
  EXPECT_EQ(this->version(1), kNone);
  this->acknowledge();
  EXPECT_EQ(state(handle), done);
  EXPECT_EQ(this->ended(), Ended{"write done 1"});
  this->table().tableStatusVersion(handle->logVersion());
  EXPECT_EQ(this->ended(), Ended{});
}

TYPED_TEST(Operations, OnOneKeyAllCommitInOrderAndTheNewestIsSeen) {
  this->write(1, 1).reports("a").go();
  this->write(1, 2).reports("b").go();
  this->remove(1).reports("c").go();
  EXPECT_EQ(this->version(1), 2u);
  EXPECT_FALSE(this->has(1));
  this->remove(1).reports("d").go();
  this->write(1, 3).reports("e").go();
  EXPECT_EQ(this->version(1), 4u);
  EXPECT_EQ(this->read(1), 3);
  EXPECT_FALSE(this->table().transientRemoveEntryHas(EntryKey(1)));
  EXPECT_EQ(this->table().entrys(), 1u);
  this->resolve();
  EXPECT_EQ(this->version(1), kNone);
  this->acknowledge(3);
  EXPECT_EQ(this->ended(), (Ended{"a done 1", "b done 2", "c done 3"}));
  this->acknowledge();
  EXPECT_EQ(this->ended(), (Ended{"d done 4", "e done 5"})) << "the second remove marks the record once more";
  this->write(1).go();
  EXPECT_EQ(this->version(1), 0u);
}

TYPED_TEST(Operations, ARemoveOfWhatIsNotThereEndsAtItsCommit) {
  this->remove(5).reports("remove").go();
  EXPECT_EQ(this->table().entrys(), 0u);
  this->resolve();
  EXPECT_EQ(this->ended(), Ended{"remove done 0"});
  EXPECT_FALSE(this->pending());
  auto const& stats = *this->table().stats();
  EXPECT_EQ(stats.entryRemoveCnt(), 1u);
  EXPECT_EQ(stats.commitCnt(), 1u);
  EXPECT_GT(stats.lastCommitTime(), 0.0);
}

TYPED_TEST(Operations, ARemoveAllTakesWhatWasAskedForBeforeIt) {
  this->write(1, 1).template needs<QosProfileKind>(1).go();
  this->write(2, 1).template needs<QosProfileKind>(1).go();
  this->resolve();
  this->write(3, 1).reports("before").go();
  this->removeAll().reports("all").go();
  EXPECT_EQ(this->table().transientRemoveAllVersion().value(), 0u);
  this->removeAll().reports("again").go();
  EXPECT_EQ(this->table().transientRemoveAllVersion().value(), 1u);
  this->write(3, 2).go();
  EXPECT_EQ(this->version(3), 1u) << "the write before the remove-all is still in flight";
  this->write(4, 2).go();
  EXPECT_FALSE(this->has(1));
  EXPECT_EQ(this->read(1), 1) << "a point read does not look at remove-alls";
  EXPECT_EQ(this->table().entrys(), 2u);
  auto& profiles = this->world().template resources<QosProfileKind>();
  EXPECT_EQ(profiles.usersOf(keyOf<QosProfileKind>(1)), 1u);
  this->resolve();
  EXPECT_FALSE(this->table().transientRemoveAllVersion().valid());
  EXPECT_EQ(this->walk(), (std::vector<unsigned>{3, 4}));
  EXPECT_EQ(profiles.usersOf(keyOf<QosProfileKind>(1)), 0u);
  EXPECT_EQ(this->table().stats()->tableClearCnt(), 2u);
  EXPECT_EQ(this->ended(), Ended{});
  this->acknowledge();
  EXPECT_EQ(this->ended(), (Ended{"before done 3", "all done 4", "again done 5"}));
  EXPECT_FALSE(this->pending());
}

TYPED_TEST(Operations, AWriteLeftBehindByARemoveAllKeepsItsVersion) {
  this->write(1).go();
  this->removeAll().go();
  this->resolve();
  EXPECT_EQ(this->version(1), 0u);
  this->write(1).go();
  EXPECT_EQ(this->version(1), 1u);
  this->resolve();
  EXPECT_EQ(this->version(1), kNone);
}

TYPED_TEST(Operations, ARemoveAllOfAnEmptyUnitIsDoneAtItsCommit) {
  std::string seen;
  this->removeAll()
      .calls([&](auto const& handle) {
        seen =
            (state(handle) == done ? "done" : "not done") + std::string(this->pending() ? ", pending" : "");
      })
      .go();
  this->resolve();
  EXPECT_EQ(seen, "done");
  EXPECT_EQ(this->logVersion(), 0u);
  EXPECT_EQ(this->table().stats()->tableClearCnt(), 0u);
}

TYPED_TEST(Operations, AWaitingOneHoldsBackItsOwnTableAlone) {
  auto const other = this->makeTable(4);
  this->template steer<QosProfileKind>(1, unresolved);
  this->write(1).template needs<QosProfileKind>(1).reports("waits").go();
  this->write(2).reports("behind").go();
  this->write(3).on(*other).reports("beside").go();
  EXPECT_EQ(this->resolve(), 1u);
  TraceCapture traces(TypeParam::swTableFacility, 3);
  this->table().isResolverEntryResolved(boost::static_pointer_cast<typename TypeParam::ResolverEntry>(
      this->world().group().groupResolver()->heads()[0].entry));
  EXPECT_TRUE(traces.has("SwTable key: 1, resourceKey: Ethernet2 is still unresolved!"));
  this->template steer<QosProfileKind>(1, done);
  EXPECT_EQ(this->resolve(), 2u);
  this->acknowledge();
  EXPECT_EQ(this->ended(), (Ended{"waits done 2", "behind done 3", "beside done 1"}));
}

TYPED_TEST(Operations, AHandlerMayWriteRemoveAndDropHandles) {
  Handle held = this->write(1)
                    .calls([&](auto const&) {
                      held.reset();
                      this->remove(1).reports("remove").go();
                      this->write(2, 9).reports("write").go();
                    })
                    .go();
  this->settle();
  EXPECT_FALSE(held);
  EXPECT_EQ(this->read(2), 9);
  EXPECT_EQ(this->resolve(), 2u);
  // A handler that runs within a commit: the write below is queued, not committed in the call.
  this->remove(9).calls([&](auto const&) { this->write(9).reports("from within").go(); }).go();
  EXPECT_EQ(this->resolve(), 2u);
  this->acknowledge();
  EXPECT_EQ(this->ended(), (Ended{"remove done 2", "write done 3", "from within done 4"}));
}

TYPED_TEST(Operations, CopiesItsArgumentsBeforeTheCollectionsChange) {
  this->write(1, 5).go();
  auto const* const wrapper = this->table().transientAddEntryFind(EntryKey(1));
  this->table().entryWrite(wrapper->key(), wrapper->entry(), nullptr);
  EXPECT_EQ(this->read(1), 5);
  this->table().entryRemove(this->table().transientAddEntryFind(EntryKey(1))->key(), nullptr);
  EXPECT_FALSE(this->has(1));
  EXPECT_EQ(this->resolve(), 3u);
}

}  // namespace
