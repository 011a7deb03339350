// A read of nothing, and walks that live on while the table changes.
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using Keys = std::vector<unsigned>;

template <class I>
class Walk : public TableFixture<I> {
 protected:
  void commit(Keys const& keys) {
    for (unsigned key : keys) this->write(key, 1).go();
    this->resolve();
  }
  // The rest of a walk, ascending.
  Keys rest(LoamTunnelNiLib::InLifModelSwTableIteratorState& walk) {
    Keys keys;
    for (Entry entry = walk.maybeUpdateCurrentEntry(); walk.state().entryValid();
         entry = walk.maybeUpdateCurrentEntry()) {
      keys.push_back(entry.logEntry.key.value());
    }
    std::sort(keys.begin(), keys.end());
    return keys;
  }
};
TYPED_TEST_SUITE(Walk, Instances);

// What reads and walks see of a table that changes TableModelTest asks all the time.
TYPED_TEST(Walk, AReadOfNothingIsTold) {
  this->commit({3});
  this->remove(3).go();
  TraceCapture traces(TypeParam::swTableFacility, 1);
  EXPECT_EQ(this->read(3), 0);
  EXPECT_TRUE(traces.lines().empty()) << "it is known to go";
  EXPECT_EQ(this->read(5), 0);
  EXPECT_TRUE(traces.has("Failed to find entry for key: 5"));
}

TYPED_TEST(Walk, FromAKeyStartsWhereTheKeyStands) {
  this->commit({1, 2, 3});
  auto const committed = this->table().initIterStateFromKey(EntryKey(2));
  EXPECT_TRUE(committed->state().inTblCfg());
  EXPECT_EQ(committed->maybeUpdateCurrentEntry().logEntry.key, EntryKey(2));
  this->write(9).go();
  EXPECT_EQ(this->rest(*this->table().initIterStateFromKey(EntryKey(9))), (Keys{1, 2, 3, 9}));
  EXPECT_EQ(this->rest(*this->table().initIterStateFromKey(EntryKey(5))), Keys{});
  EXPECT_EQ(this->table().entryIteratorConst(EntryKey(9))->logEntry.key, EntryKey(9));
}

TYPED_TEST(Walk, HoldsToWhatARemoveAllWasWhenItBegan) {
  this->commit({1, 2});
  auto const before = this->table().initIterState();
  this->removeAll().go();
  this->write(5).go();
  EXPECT_EQ(this->rest(*before), (Keys{1, 2, 5}));
  auto const within = this->table().initIterState();
  this->resolve();
  EXPECT_EQ(this->rest(*within), Keys{}) << "the write has left the pending part";
}

TYPED_TEST(Walk, GoesOnOverChangesBetweenItsSteps) {
  this->commit({1, 2, 3, 4, 5, 6, 7, 8});
  for (unsigned key : {20u, 21u, 22u}) this->write(key).go();
  auto const walk = this->table().initIterState();
  for (int i = 0; i < 2; ++i) walk->maybeUpdateCurrentEntry();
  // The bookmarked write commits under the walk, which finds it again among what is committed.
  this->resolve();
  auto const keys = this->rest(*walk);
  EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());

  auto const other = this->table().initIterState();
  Keys seen;
  for (Entry entry = other->maybeUpdateCurrentEntry(); other->state().entryValid();
       entry = other->maybeUpdateCurrentEntry()) {
    unsigned const key = entry.logEntry.key.value();
    seen.push_back(key);
    this->remove(key).go();
    this->settle();
  }
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(seen, (Keys{1, 2, 3, 4, 5, 6, 7, 8, 20, 21, 22}));
  EXPECT_EQ(this->table().entrys(), 0u);
}

TYPED_TEST(Walk, PassesTheDefaultEntry) {
  this->table().entryWrite(EntryKey(0), Entry(), nullptr);
  this->write(1).go();
  EXPECT_EQ(this->walk(), (Keys{0, 1}));
}

// One that no table has begun: as inspection can make it.
TYPED_TEST(Walk, AFreshStateIsAtItsEnd) {
  auto const state = Pivot::make<typename TypeParam::SwTableIteratorState>();
  EXPECT_FALSE(state->maybeUpdateCurrentEntry());
  EXPECT_FALSE(state->state().entryValid());
}

}  // namespace
