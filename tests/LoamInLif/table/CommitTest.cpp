// Commits that fail or have nothing to write, what a record needs of other tables, and the choices about
// room.
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using namespace LoamInLif;

template <class I>
class Commit : public TableFixture<I> {};
TYPED_TEST_SUITE(Commit, Instances);

TYPED_TEST(Commit, AFailedResourceFailsTheWriteAndGivesItsTransientStateUp) {
  this->template steer<L2CrpsIndexRequestKind>(1, rejected);
  this->write(1).template needs<L2CrpsIndexRequestKind>(1).reports("write").go();
  TraceCapture traces(TypeParam::swTableFacility, 3);
  this->resolve();
  EXPECT_EQ(this->ended(), Ended{"write failed 0"});
  EXPECT_TRUE(traces.has("SwTable key: 1, resourceKey: 2/2048/6/0 has failed resolution!"));
  EXPECT_TRUE(std::ranges::any_of(traces.lines(), [](auto const& line) {
    return line.function == "checkResolveSuccess" && line.text.ends_with("has failed resolution!");
  }));
  EXPECT_TRUE(traces.has("Failed to commit entry key: 1"));
  EXPECT_FALSE(this->has(1));
  EXPECT_FALSE(this->pending());
  EXPECT_EQ(this->logVersion(), 0u);
  auto const& stats = *this->table().stats();
  EXPECT_EQ(stats.resolveFailCnt(), 1u);
  EXPECT_EQ(stats.commitCnt(), 1u);
}

TYPED_TEST(Commit, AFailedDependencyDoesTheSame) {
  this->write(3).go();
  this->settle();
  auto const other = this->makeTable(4);
  this->template steer<QosProfileKind>(9, failed);
  auto const failedOne = this->write(90).template needs<QosProfileKind>(9).on(*other).go();
  this->resolve();
  TraceCapture traces(TypeParam::swTableFacility, 1);
  this->write(1).after(failedOne).reports("write").go();
  this->remove(3).after(failedOne).reports("remove").go();
  this->removeAll().after(failedOne).reports("all").go();
  this->write(1, 4).reports("newer").go();
  this->resolve();
  EXPECT_EQ(this->ended(), (Ended{"write failed 0", "remove failed 0", "all failed 0"}));
  EXPECT_EQ(traces.texts(),
            (Ended{"Failed dependent entry for key: 1", "Failed to commit entry key: 1",
                   "Failed dependent entry for key: 3", "Failed to commit entry key: 3",
                   "Failed dependent entry for remove all", "Failed to commit entry remove all operation"}));
  EXPECT_FALSE(this->table().transientRemoveAllVersion().valid());
  EXPECT_EQ(this->walk(), (std::vector<unsigned>{1, 3}));
  EXPECT_EQ(this->read(1), 4);
  this->acknowledge();
  EXPECT_FALSE(this->pending());
  EXPECT_EQ(this->table().stats()->resolveFailCnt(), 0u);
}

TYPED_TEST(Commit, NeededVersionsOfAllResourcesAreMerged) {
  auto& profiles = this->world().template resources<QosProfileKind>();
  auto& fecs = this->world().template resources<L2AdjToFecKind>();
  Asic::SwTableId const foreign(0x14080499), another(0x14080498);
  mustBeOk(profiles.neededVersionIs(keyOf<QosProfileKind>(1), {foreign, Asic::LogVersion(4)}));
  mustBeOk(fecs.neededVersionIs(keyOf<L2AdjToFecKind>(1), {foreign, Asic::LogVersion(6)}));
  mustBeOk(fecs.neededVersionIs(keyOf<L2AdjToFecKind>(1), {another, Asic::LogVersion(2)}));
  this->write(1).template needs<QosProfileKind>(1).template needs<L2AdjToFecKind>(1).go();
  auto const needed = this->table().getNeededEntrySet(this->table().transientAddEntry(EntryKey(1)));
  EXPECT_EQ(needed->version(foreign).value(), 6u);
  EXPECT_EQ(needed->version(another).value(), 2u);
  needed->add({foreign, Asic::LogVersion(99)});
  EXPECT_EQ(fecs.handle(keyOf<L2AdjToFecKind>(1))->neededEntry()->version(foreign).value(), 6u) << "a copy";
  this->write(2).go();
  EXPECT_TRUE(this->table().getNeededEntrySet(this->table().transientAddEntry(EntryKey(2)))->empty());
}

TYPED_TEST(Commit, AnIdenticalWriteDuringMarkingEndsWithTheOldVersion) {
  this->write(1, 3).go();
  this->settle();
  this->table().mark();
  TraceCapture traces(TypeParam::entryLogFacility, 3);
  this->write(1, 3).reports("same").go();
  this->resolve();
  EXPECT_EQ(this->ended(), Ended{"same done 1"});
  EXPECT_EQ(this->logVersion(), 1u);
  this->write(1, 4).reports("other").go();
  this->resolve();
  this->write(1, 4).reports("same again").go();
  this->resolve();
  EXPECT_EQ(this->ended(), Ended{}) << "the hardware has not taken version 2 yet";
  this->acknowledge();
  EXPECT_EQ(this->ended(), (Ended{"other done 2", "same again done 2"}));
  this->write(1, 4).template needs<QosProfileKind>(1).go();
  this->write(2).go();  // a new key is not compared
  this->resolve();
  EXPECT_EQ(this->logVersion(), 4u) << "another resource key is a difference";
  auto const& stats = *this->table().stats();
  EXPECT_EQ(stats.suppressedWriteCnt(), 2u);
  EXPECT_EQ(stats.suppressCheckDiffCnt(), 2u);
  EXPECT_EQ(traces.count("Suppressing identical write for key: 1"), 2u);
  EXPECT_EQ(traces.count("Not Suppressing write because entry or resource key is different  for key: 1"), 2u);
}

TYPED_TEST(Commit, AHandleBehindAHigherVersionWaitsForTheFrontOne) {
  auto& table = this->table();
  auto const queued = [&](std::uint64_t version) {
    auto const handle = TypeParam::SwTable::entryHandleFactory(Asic::EntryVersion(), EntryKey(1), &table);
    handle->logVersionIs(Asic::LogVersion(version));
    handle->entryStateIs(inLog);
    table.entryHandleInLogEnq(handle);
    return handle;
  };
  auto const high = queued(7), low = queued(5);
  table.tableStatusVersion(Asic::LogVersion(6));
  EXPECT_EQ(state(low), inLog);
  table.tableStatusVersion(Asic::LogVersion(7));
  EXPECT_EQ(state(high), done);
  EXPECT_EQ(state(low), done);
}

// What the head of the table's queue waits for.
template <class Fixture>
Asic::WaitCauses causesOfHead(Fixture& fixture) {
  using Entry = typename std::remove_reference_t<decltype(fixture.table())>::ResolverEntry;
  auto const head = fixture.world().group().groupResolver()->head(&fixture.table()).entry;
  return fixture.table().waitCauses(static_cast<Entry const&>(*head));
}

TYPED_TEST(Commit, TellsWhatAnOperationWaitsForAndAsksNobody) {
  auto const other = this->makeTable(this->kUnit + 1);
  this->template steer<QosProfileKind>(1, unresolved);
  this->template steer<L2AdjToFecKind>(2, inLog);
  auto const first = this->write(1).template needs<QosProfileKind>(1).on(*other).go();
  this->write(2).after(first).template needs<QosProfileKind>(1).template needs<L2AdjToFecKind>(2).go();
  this->resolve();
  auto causes = causesOfHead(*this);
  EXPECT_TRUE(causes.dependency);
  EXPECT_EQ(causes.resources,
            1u << Kinds::indexOf<QosProfileKind>() | 1u << Kinds::indexOf<L2AdjToFecKind>());
  EXPECT_TRUE(causes.room.empty());
  // Known at once, although nobody has been asked since.
  this->template steer<QosProfileKind>(1, done);
  this->template steer<L2AdjToFecKind>(2, failed);
  causes = causesOfHead(*this);
  EXPECT_TRUE(causes.dependency && causes.resources == 0);
  this->resolve();
  this->template steer<QosProfileKind>(3, unresolved);
  this->remove(2).after(this->write(3).template needs<QosProfileKind>(3).on(*other).go()).go();
  EXPECT_EQ(causesOfHead(*this).resources, 0u) << "a removal needs none";
}

// The unit is filled with resource-less entries in one go: three instances would only repeat it.
using FullUnit = TableFixture<InLif1>;

TEST_F(FullUnit, FailsNewKeysAndTakesTheRest) {
  for (unsigned key = 0; key < FamilyConstants::maxConfigRecords; ++key) write(key).go();
  settle();
  ASSERT_EQ(table().entrys(), FamilyConstants::maxConfigRecords);
  auto const at = logVersion();
  TraceCapture traces(InLif1::swTableFacility, 1);
  write(70000).reports("new").go();
  write(5, 9).reports("known").go();
  resolve();
  EXPECT_EQ(ended(), Ended{"new failed 0"});
  EXPECT_EQ(logVersion(), at + 1);
  EXPECT_EQ(traces.lines().size(), 1u);
  EXPECT_FALSE(table().transientAddEntryHas(EntryKey(70000)));

  remove(6).go();
  write(70000).reports("waits").go();
  EXPECT_EQ(resolve(), 1u) << "the removed record still takes its place";
  EXPECT_EQ(
      traces.count(
          "key: 70000, unit: 3 waits for room: unit 3 is full while 1 removed entries wait for clean-up"),
      1u);
  EXPECT_EQ(causesOfHead(*this).room, "unit 3 is full while 1 removed entries wait for clean-up");
  acknowledge();
  EXPECT_EQ(resolve(), 1u);
  EXPECT_EQ(table().entryLog()->roomRefusal(kUnit), nullptr);
  EXPECT_TRUE(has(70000));
}

}  // namespace
