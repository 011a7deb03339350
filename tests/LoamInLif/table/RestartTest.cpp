// What a table does after a restart: take up what stands in the store, and sweep what nobody wrote again.
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using namespace LoamInLif;
using Keys = std::vector<unsigned>;

template <class I>
class Restart : public TableFixture<I> {};
TYPED_TEST_SUITE(Restart, Instances);

TYPED_TEST(Restart, BringsBackEntriesWithTheirResources) {
  this->write(1, 4).template needs<InLifDataKind>(1).template needs<L2AdjToFecKind>(1).go();
  this->write(2, 5).template needs<L2AdjToFecKind>(1).go();
  this->write(3, 6).go();
  this->resolve();
  this->acknowledge();
  this->remove(3).go();
  this->resolve();
  auto const committed = this->table().entryFromConfig(EntryKey(1));
  auto const at = this->logVersion();
  this->restart();
  EXPECT_EQ(this->walk(), (Keys{1, 2}));
  EXPECT_TRUE(this->table().entryRead(EntryKey(1)).isEq(committed));
  EXPECT_EQ(this->logVersion(), at) << "what came back unchanged is not written again";
  EXPECT_TRUE(this->pending()) << "the hardware has not taken the removal";
  EXPECT_TRUE(this->table().transientAddEntrys().empty());
  EXPECT_EQ(this->world().template resources<L2AdjToFecKind>().usersOf(keyOf<L2AdjToFecKind>(1)), 1u);
  mustBeOk(this->world().template resources<L2AdjToFecKind>().valueIs(keyOf<L2AdjToFecKind>(1), 99));
  EXPECT_EQ(this->table().entryFromConfig(EntryKey(2)).logEntry.fecId, 99u);
  EXPECT_EQ(this->logVersion(), at + 2);
}

TYPED_TEST(Restart, SweepRemovesWhatWasNotWrittenAgain) {
  for (unsigned key : {1u, 2u, 3u, 4u}) this->write(key, 1).go();
  this->resolve();
  this->acknowledge();
  this->restart(true);
  ASSERT_TRUE(this->table().inMarkingState());
  this->write(1, 1).go();
  this->write(2, 7).go();
  this->write(3, 1).go();
  this->remove(3).go();
  this->resolve();
  EXPECT_EQ(this->logVersion(), 6u) << "one of the three writes was identical";
  TraceCapture traces(TypeParam::swTableFacility, 6);
  this->table().sweep();
  EXPECT_TRUE(traces.has("Swept 1 entries"));
  EXPECT_FALSE(this->table().inMarkingState());
  EXPECT_TRUE(this->table().markedKeys().empty());
  EXPECT_EQ(this->table().stats()->entryRemoveCnt(), 2u);
  this->resolve();
  EXPECT_EQ(this->walk(), (Keys{1, 2}));
  traces.clear();
  this->table().sweep();
  EXPECT_TRUE(traces.has("Swept 0 entries"));
}

TYPED_TEST(Restart, ResetClearsTheUnitAndLeavesTheUsage) {
  this->write(1).template needs<QosProfileKind>(1).go();
  this->resolve();
  auto& profiles = this->world().template resources<QosProfileKind>();
  this->makeTable(this->kUnit, nullptr, true);
  EXPECT_EQ(this->table().entrys(), 0u);
  EXPECT_EQ(profiles.usersOf(keyOf<QosProfileKind>(1)), 1u);
  EXPECT_EQ(this->logVersion(), 2u);
  this->table().clearTable(false);
  EXPECT_EQ(this->logVersion(), 3u) << "the marked record still stands";
  this->acknowledge();
  this->table().clearTable(false);
  EXPECT_EQ(this->logVersion(), 3u);
  EXPECT_EQ(this->table().stats()->tableClearCnt(), 2u);
  EXPECT_FALSE(this->pending());
}

}  // namespace
