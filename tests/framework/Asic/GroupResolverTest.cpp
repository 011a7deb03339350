// The rounds of the resolver: who is asked, when, and who commits first.
#include "Asic/GroupResolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>

#include "FakeTable.h"

namespace {

using namespace AsicTest;

std::uint64_t testTime = 0;

// An operation that may commit when its gate is open and its dependency has left entryStateUnresolved.
class Operation final : public Asic::ResolverEntry {
 public:
  using Commit = std::function<void(Operation&)>;

  Operation(int number, bool resolved, Pivot::Ptr<FakeHandle> dependency, Commit commit)
      : ResolverEntry(dependency, Asic::EntryFlags()),
        name(number),
        open(resolved),
        dependency_(dependency),
        commit_(commit) {}

  bool isResolved() override {
    ++asked;
    if (onAsk) onAsk();
    bool const dependencyEnded =
        dependency_ == nullptr || dependency_->entryState() != Asic::EntryState::entryStateUnresolved;
    return open && dependencyEnded;
  }
  void commitEntry(Pivot::Ptr<ResolverEntry> const& resolvedEntry) override {
    EXPECT_EQ(resolvedEntry.get(), this);
    commit_(*this);
  }

  int const name;
  bool open;
  int asked = 0;
  std::function<void()> onAsk;

 private:
  Pivot::Ptr<FakeHandle> dependency_;
  Commit commit_;
};

class GroupResolverTest : public testing::Test {
 protected:
  GroupResolverTest() {
    resolver->clockIs([] { return testTime; });
    for (int i = 0; i < 4; ++i) tables.push_back(Pivot::make<FakeTable>(static_cast<Asic::UnitId>(i)));
  }

  // As a table does it: an enqueue and the updateGenId() that belongs to it.
  Pivot::Ptr<Operation> enq(std::size_t table, int name, bool open = true,
                            Pivot::Ptr<FakeHandle> dependency = nullptr) {
    auto operation = Pivot::make<Operation>(name, open, dependency, [this](Operation& done) {
      committed.push_back(done.name);
      if (onCommit) onCommit(done);
    });
    resolver->resolverQueueEnq(operation, tables[table].get());
    resolver->updateGenId();
    resolver->maybeUpdateSuspend();
    return operation;
  }
  std::vector<int> turn(std::size_t budget = 1000) {
    committed.clear();
    std::size_t const count = resolver->turn(budget);
    EXPECT_EQ(count, committed.size());
    return committed;
  }

  Pivot::Ptr<Asic::GroupResolver> resolver = Pivot::make<Asic::GroupResolver>("Group");
  std::vector<Pivot::Ptr<FakeTable>> tables;
  std::vector<int> committed;
  std::function<void(Operation&)> onCommit;
};

using Names = std::vector<int>;

TEST_F(GroupResolverTest, AWaitingHeadIsAskedOnceForEachNoticeAndNotForWritesElsewhere) {
  auto const head = enq(0, 1, false);
  for (int name = 2; name < 1000; ++name) {
    enq(1, name);
    if (name % 3 == 0) turn();
  }
  EXPECT_EQ(head->asked, 1);
  // A notice counts even right after a write, and two before a turn are one.
  enq(1, 1000);
  for (int i = 0; i < 2; ++i) resolver->updateGenId();
  for (int i = 0; i < 2; ++i) turn();
  EXPECT_EQ(head->asked, 2);
  resolver->noticeResource();
  turn();
  EXPECT_EQ(head->asked, 3);
}

TEST_F(GroupResolverTest, ANoticeAfterAnEnqueueThatBroughtNoneIsNotLost) {
  auto const operation =
      Pivot::make<Operation>(1, false, nullptr, [this](Operation&) { committed.push_back(1); });
  resolver->resolverQueueEnq(operation, tables[0].get());
  EXPECT_EQ(turn(), Names{});
  operation->open = true;
  resolver->updateGenId();
  EXPECT_EQ(turn(), Names{1});
}

TEST_F(GroupResolverTest, ADependencyThatEndsWakesItsDependants) {
  auto const dependency = Pivot::make<FakeHandle>();
  auto const bystander = enq(2, 7, false);
  enq(0, 1, true, dependency);
  enq(1, 2, true, dependency);
  EXPECT_EQ(turn(), Names{});
  dependency->entryStateIs(Asic::EntryState::entryStateFailed);
  EXPECT_TRUE(resolver->needsTurn());
  EXPECT_EQ(turn(), (Names{1, 2}));
  EXPECT_EQ(bystander->asked, 1);
  dependency->entryStateIs(Asic::EntryState::entryStateDone);  // nobody listens any more
}

TEST_F(GroupResolverTest, ACommitThatFreesAnEarlierOperationLetsItGoFirst) {
  auto const dependency = Pivot::make<FakeHandle>();
  auto const first = enq(0, 1, false);
  enq(2, 2, true, dependency);
  for (int name : {3, 4, 5}) enq(1, name);
  onCommit = [&](Operation& done) {
    if (done.name == 3) dependency->entryStateIs(Asic::EntryState::entryStateInLog);
    if (done.name == 4) first->open = true, resolver->noticeResource();
  };
  EXPECT_EQ(turn(), (Names{3, 2, 4, 1, 5}));
}

TEST_F(GroupResolverTest, ANoticeRaisedByAQuestionDoesNotKeepTheStepGoing) {
  auto const head = enq(0, 1, false);
  head->onAsk = [&] { resolver->noticeResource(); };
  turn();
  EXPECT_EQ(head->asked, 1);
  EXPECT_TRUE(resolver->needsTurn());
  turn();
  EXPECT_EQ(head->asked, 2);
}

TEST_F(GroupResolverTest, WithoutANoticeAHeadIsAskedAfterASecond) {
  testTime = 5'000'000'000;
  auto const early = enq(0, 1, false);
  turn();
  testTime += 600'000'000;
  auto const late = enq(1, 2, false);
  turn();
  EXPECT_EQ(resolver->nextAskTime(), 6'000'000'000u);
  testTime = 6'000'000'000;
  turn();
  EXPECT_EQ(early->asked, 2);
  EXPECT_EQ(late->asked, 1);
}

class Aside final : public Asic::GroupResolver::Retry {
 public:
  void retry() override { did(); }
  std::function<void()> did;
};

TEST_F(GroupResolverTest, WhatWasSetAsideIsDoneBeforeAnyHeadIsAsked) {
  testTime = 5'000'000'000;
  Names order;
  bool isRoom = false;
  {
    Aside aside;
    aside.did = [&] {
      order.push_back(isRoom ? 1 : 0);
      if (!isRoom) resolver->retryIs(aside);
    };
    resolver->retryIs(aside);
    EXPECT_FALSE(resolver->suspended());
    EXPECT_EQ(resolver->nextAskTime(), 6'000'000'000u);
    turn();
    EXPECT_EQ(order, Names{}) << "nothing has happened since";
    auto const head = enq(0, 2, false);
    head->onAsk = [&] { order.push_back(2); };
    turn();
    resolver->updateGenId();
    EXPECT_TRUE(resolver->needsTurn());
    turn();
    EXPECT_EQ(order, (Names{2, 0, 2}));
    testTime += 1'000'000'000;
    isRoom = true;
    turn();
    resolver->updateGenId();
    turn();
    EXPECT_EQ(order, (Names{2, 0, 2, 1, 2, 2})) << "done, and not asked again";
    head->open = true;
    resolver->updateGenId();
    turn();
    resolver->retryIs(aside);
  }
  EXPECT_EQ(resolver->nextAskTime(), 0u) << "it has ended";
}

TEST_F(GroupResolverTest, ACommitMayWriteAndNeverNests) {
  enq(0, 1);
  onCommit = [&](Operation& done) {
    EXPECT_EQ(resolver->turn(10), 0u);
    if (done.name < 5) enq(0, done.name + 1);
  };
  EXPECT_EQ(turn(), (Names{1, 2, 3, 4, 5}));
}

TEST_F(GroupResolverTest, AMillionWaitingEntriesCostNothingAndGoInOneSweep) {
  auto const tracked = Pivot::make<FakeHandle>();
  for (int i = 0; i < 1'000'000; ++i) {
    resolver->resolverQueueEnq(Pivot::make<Operation>(i, false, tracked, nullptr), tables[0].get());
  }
  enq(1, 1);
  EXPECT_EQ(turn(), (Names{1}));
  EXPECT_EQ(resolver->heads()[0].asked, 1u);
  resolver.reset();
  EXPECT_EQ(tracked->useCount(), 1u);
}

// Gates open at random, each with its notice; what commits must be the earliest enqueued head that may, each
// time.
TEST_F(GroupResolverTest, RandomRoundsFollowTheRules) {
  std::uint32_t const seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  auto const one = [&](std::uint32_t in) { return random() % in == 0; };
  std::vector<std::vector<Pivot::Ptr<Operation>>> model(4);
  Names expected;
  Names all;
  onCommit = [&](Operation& done) { all.push_back(done.name); };
  for (int name = 0; name < 20'000; ++name) {
    std::size_t const table = random() % 4;
    model[table].push_back(enq(table, name, !one(3)));
    if (one(4)) {
      auto const& queue = model[random() % 4];
      if (!queue.empty()) queue[random() % queue.size()]->open = true;
      resolver->noticeResource();
    }
    std::size_t budget = one(2) ? random() % 8 : 0;
    turn(budget);
    for (; budget > 0; --budget) {
      std::vector<Pivot::Ptr<Operation>>* best = nullptr;
      for (auto& queue : model) {
        if (queue.empty() || !queue.front()->open) continue;
        if (best == nullptr || queue.front()->name < best->front()->name) best = &queue;
      }
      if (best == nullptr) break;
      expected.push_back(best->front()->name);
      best->erase(best->begin());
    }
    ASSERT_EQ(all, expected) << "after " << name;
    ASSERT_EQ(resolver->suspended(), std::ranges::all_of(model, &std::vector<Pivot::Ptr<Operation>>::empty));
    ASSERT_FALSE(resolver->suspended() && resolver->needsTurn());
    if (all.size() > 100) all.clear(), expected.clear();
  }
}

TEST_F(GroupResolverTest, AWalkOverAQueueMissesNobodyThatStays) {
  for (int i = 0; i < 6; ++i) enq(1, i, i < 3);
  Pivot::Ptr<Asic::ResolverEntry> last;
  auto const next = [&](std::size_t table = 1) {
    last = resolver->queuedAfter(tables[table].get(), last);
    return last == nullptr ? -1 : static_cast<Operation const&>(*last).name;
  };
  EXPECT_EQ(next(), 0);
  EXPECT_EQ(next(), 1);
  EXPECT_EQ(turn(), (std::vector{0, 1, 2})) << "the walk's place among them";
  EXPECT_EQ(next(), 3);
  enq(1, 6);
  for (int name : {4, 5, 6, -1}) EXPECT_EQ(next(), name);
  EXPECT_EQ(next(2), -1) << "nothing was ever queued there";
  EXPECT_EQ(resolver->head(tables[2].get()).entry, nullptr);
  EXPECT_EQ(resolver->head(tables[1].get()).asked, 1u) << "by the turn alone";
}

TEST_F(GroupResolverTest, AnExceptionEndsTheProcessWithItsText) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  enq(0, 1);
  onCommit = [](Operation&) { throw std::runtime_error("handler of key 17 gave up"); };
  EXPECT_DEATH(resolver->turn(1), "response handler: handler of key 17 gave up");
}

}  // namespace
