// A table over restarts: what was committed stands in the next life, what the hardware has taken is cleaned away
// at the start, what nobody writes again is swept; and what a restart does to the store, step by step.
#include <fstream>

#include "support/Listener.h"
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using namespace LoamInLif;
using Keys = std::vector<unsigned>;

template <class I>
class Restart : public TableFixture<I> {};
TYPED_TEST_SUITE(Restart, Instances);

TYPED_TEST(Restart, WhatIsCommittedStands) {
  this->write(1, 4).template needs<InLifDataKind>(1).template needs<L2AdjToFecKind>(1).go();
  this->write(2, 5).template needs<L2AdjToFecKind>(1).go();
  this->write(3, 6).go();
  this->settle();
  this->write(2, 7).template needs<L2AdjToFecKind>(1).go();
  this->remove(3).go();
  this->resolve();
  auto const committed = this->table().entryFromConfig(EntryKey(1));
  auto const resources = [this]() -> auto& {
    return this->world().template resources<L2AdjToFecKind>();
  };
  this->verifyOverARestart([&] {
    EXPECT_EQ(this->stored(), "log 4 5, unit -3@5 1@1 2@4");
    EXPECT_EQ(this->logVersion(), 5u) << "what came back unchanged is not written again";
    EXPECT_EQ(this->walk(), (Keys{1, 2}));
    EXPECT_EQ(this->table().entrys(), 2u);
    EXPECT_EQ(this->read(2), 7);
    EXPECT_TRUE(this->table().entryRead(EntryKey(1)).isEq(committed));
    EXPECT_TRUE(this->pending()) << "the hardware has not taken the removal";
    EXPECT_TRUE(this->table().transientAddEntrys().empty());
    EXPECT_FALSE(this->table().inMarkingState()) << "it is suppressed";
    EXPECT_EQ(resources().usersOf(keyOf<L2AdjToFecKind>(1)), 1u);
  });
  mustBeOk(resources().valueIs(keyOf<L2AdjToFecKind>(1), 99));
  EXPECT_EQ(this->table().entryFromConfig(EntryKey(2)).logEntry.fecId, 99u);
  EXPECT_EQ(this->logVersion(), 7u);
}

TYPED_TEST(Restart, TheStartCleansUpToTheReport) {
  for (unsigned key : {1u, 2u, 3u}) this->write(key).go();
  this->remove(1).go();
  this->remove(2).go();
  this->write(2).go();
  this->resolve();
  struct Row {
    std::uint64_t taken;
    char const* left;
    bool pending;
  };
  for (Row row : {Row{0, "log 1 2 3 4 5 6, unit -1@4 2@6 3@3", true},
                  {3, "log 4 5 6, unit -1@4 2@6 3@3", true},
                  {4, "log 5 6, unit 2@6 3@3", true},
                  {6, "log, unit 2@6 3@3", false}}) {
    SCOPED_TRACE(row.taken);
    if (row.taken != 0) this->world().report(TypeParam::tableId, Asic::LogVersion(row.taken));
    this->restart();
    EXPECT_EQ(this->stored(), row.left);
    EXPECT_EQ(this->pending(), row.pending);
    EXPECT_EQ(this->table().status()->pendingHwWrites(), row.pending);
    EXPECT_EQ(this->walk(), (Keys{2, 3}));
  }
  this->removeAll().go();
  this->write(4).go();
  this->resolve();
  this->verifyOverARestart([&] { EXPECT_EQ(this->stored(), "log 7 8, unit -2@7 -3@7 4@8"); });
  this->world().report(TypeParam::tableId, Asic::LogVersion(7));
  this->restart();
  EXPECT_EQ(this->stored(), "log 8, unit 4@8");
}

// That no note of a publication is left either LogDeathTest looks at.
TYPED_TEST(Restart, NothingIsRepairedAfterARunThatEndedBetweenPublications) {
  for (unsigned life = 1; life <= 4; ++life) {
    this->write(life).template needs<QosProfileKind>(life).go();
    this->write(9, static_cast<std::uint8_t>(life)).go();
    if (life == 3) this->removeAll().go();
    this->resolve();
    if (life == 2) this->acknowledge();
    this->remove(9).go();
    this->resolve();
    this->write(1, 5).go();  // never committed
    auto const version = this->logVersion();
    auto const contents = this->stored();
    this->restart();
    EXPECT_EQ(this->logVersion(), version);
    EXPECT_EQ(this->stored(), contents);
  }
}

TYPED_TEST(Restart, SweepRemovesWhatWasNotWrittenAgain) {
  for (unsigned key : {1u, 2u, 3u, 4u}) this->write(key, 1).go();
  this->settle();
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

// One instance is enough: the steps have one text.
using RestartSteps = TableFixture<InLif1>;

// Each line is compared with restart-steps.txt: a record is cleaned from the log before any unit is mounted, a marked one dropped at the mount, and
// nothing else touches the store.
TEST_F(RestartSteps, StandInTheirOrder) {
  write(1).needs<L2AdjToFecKind>(1).go();
  write(2).go();
  settle();
  remove(2).go();
  write(3).go();
  remove(3).go();
  resolve();
  world().report(InLif1::tableId, Asic::LogVersion(3));
  TraceCapture traces("*", 8);
  std::string before = stored();
  traces.beside = [&] {
    auto const now = stored();
    return std::exchange(before, now) == now ? "" : " -> " + now;
  };
  restart(true);
  std::string steps, expected;
  for (auto const& [facility, level, file, function, text] : traces.lines())
    if (facility.starts_with(InLif1::tableName))
      steps += fmt::format("{} {} \"{}\"\n", facility.substr(6), level, text);
  std::ifstream in(RESTART_STEPS);
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("#")) expected += line + "\n";
  EXPECT_EQ(steps, expected);
  EXPECT_TRUE(table().inMarkingState());
  EXPECT_EQ(stored(), "log 4 5, unit -3@5 1@1");
}

// Updates that have nothing to do are skipped, unless somebody wants to see what they read.
TYPED_TEST(Restart, ATraceOfTheLogSeesEachUpdateOfARestore) {
  this->write(1).template needs<L2AdjToFecKind>(1).go();
  this->resolve();
  this->table_.reset();
  this->world().restart();
  TraceCapture trace(std::string(TypeParam::tableName) + "EntryLog", 8);
  this->table_ = this->makeTable(this->kUnit);
  EXPECT_EQ(trace.count(" key: 1 unitId:3"), 2u) << "whether it is there, and its version";
}

// A subscriber that throws ends the walk: what it had taken down of the resources is let go.
TYPED_TEST(Restart, AWalkThatIsCutShortHoldsNoResource) {
  this->write(1).template needs<L2AdjToFecKind>(1).template needs<QosProfileKind>(1).go();
  this->resolve();
  auto const resource = this->world().template resources<L2AdjToFecKind>().handle(keyOf<L2AdjToFecKind>(1));
  std::uint32_t const held = resource->useCount();
  auto const& profiles = this->table().template linkage<QosProfileKind>();
  profiles->entryUsageSmDelAll();
  {
    Listener listener(profiles->publisher());
    listener.react = [](void const*) { throw std::runtime_error("no more"); };
    EXPECT_THROW(this->table().restoreEntries(), std::runtime_error);
  }
  EXPECT_EQ(resource->useCount(), held);
}

}  // namespace
