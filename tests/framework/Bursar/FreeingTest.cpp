// When a value may be handed to another key: never while anything that was published with it is still on its
// way to the hardware, never while somebody holds it, and never before the clients of this life have had time
// to claim it.
#include <algorithm>
#include <random>
#include <set>

#include "BursarFixture.h"

namespace BursarTest {
namespace {

using Qos = TableLife<LoamQos::QosProfileResourceTable>;

// Key 2 gets a value only if the only one there is has been freed.
void expectFree(Qos& test, bool free) {
  test.table->poll();
  EXPECT_EQ(test.state(2) == EntryState::entryStateDone, free);
}

TEST_F(Qos, indexesStartAtOneAndComeBackOnlyWhenTaken) {
  EXPECT_EQ(value(1), 1);
  use(one, 1);
  EXPECT_EQ(value(2), 2);
  LogVersion const gone = drop(one, 1);
  EXPECT_EQ(value(3), 3);
  world.take(gone);
  table->poll();
  EXPECT_EQ(value(4), 1);
}

TEST_F(Qos, aRemoveAllReleasesBeforeItsRecordIsWritten) {
  must(table->capacityIs(1));
  use(one, 1);
  world.takeAll();
  auto const removeAll = Pivot::make<Operation>();
  one->release(one->request(key(1), nullptr), removeAll);
  expectFree(*this, false);
  removeAll->versionIs(world.publish());
  expectFree(*this, false);
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, withoutAVersionEverythingPublishedSoFarCounts) {
  must(table->capacityIs(1));
  use(one, 1);
  one->release(one->request(key(1), nullptr), nullptr);
  expectFree(*this, false);
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, anOperationThatEndedWithoutARecordHoldsNothingUpForEver) {
  must(table->capacityIs(1));
  use(one, 1);
  auto const operation = Pivot::make<Operation>();
  one->release(one->request(key(1), nullptr), operation);
  operation->stateIs(EntryState::entryStateFailed);
  expectFree(*this, false);
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, whoeverHoldsAHandleKeepsItsValue) {
  must(table->capacityIs(1));
  {
    Handle const held = use(one, 1);
    drop(one, 1);
    world.takeAll();
    expectFree(*this, false);
    EXPECT_EQ(one->request(key(1), nullptr), held);
  }
  drop(one, 1);
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, keysThatWereAskedForAndNeverUsedMakeRoom) {
  must(table->capacityIs(2));
  one->request(key(1), nullptr);
  use(one, 3);
  world.takeAll();
  expectFree(*this, true);
  EXPECT_EQ(table->handedOut(), 2u);
}

TEST_F(Qos, aSteeredKeyWaitsForItsFirstUser) {
  must(table->stateIs(key(1), EntryState::entryStateFailed));
  table->sweepEnd();
  must(table->capacityIs(1));
  expectFree(*this, false);
  EXPECT_EQ(state(1), EntryState::entryStateFailed);
}

TEST_F(Qos, theSweepFreesWhatNobodyClaimed) {
  use(one, 1);
  use(one, 3);
  restart();
  must(table->capacityIs(2));
  use(one, 3);
  world.takeAll();
  expectFree(*this, false);
  LogVersion const last = world.publish();
  table->sweepEnd();
  expectFree(*this, false);
  world.take(last);
  expectFree(*this, true);
  EXPECT_EQ(value(2), 1);
  EXPECT_EQ(value(3), 2);
}

TEST_F(Qos, aClientThatStartsLateFindsItsKey) {
  must(table->capacityIs(1));
  use(one, 1);
  use(two, 1);
  restart();
  must(table->capacityIs(1));
  // The first unit is up and lets the key go; the second one, which uses it too, is yet to come.
  use(one, 1);
  drop(one, 1);
  world.takeAll();
  expectFree(*this, false);
  EXPECT_EQ(use(two, 1)->value(), 1);
  drop(two, 1);
  table->sweepEnd();
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, aReleaseThatWasNotTakenBindsTheNextLifeToo) {
  must(table->capacityIs(1));
  use(one, 1);
  LogVersion const gone = drop(one, 1);
  restart();
  must(table->capacityIs(1));
  table->sweepEnd();
  expectFree(*this, false);
  world.take(gone);
  expectFree(*this, true);
}

TEST_F(Qos, aClientThatGoesLeavesItsKeysHandedOut) {
  must(table->capacityIs(1));
  use(one, 1);
  one = table->makeClientInstance();
  EXPECT_EQ(table->usersOf(key(1)), 0u);
  use(two, 1);
  drop(two, 1);
  world.takeAll();
  expectFree(*this, true);
}

TEST_F(Qos, aSteeredValueDoesNotBecomeAnIndex) {
  must(table->capacityIs(2));
  use(one, 1);
  must(table->valueIs(key(1), 200));
  drop(one, 1);
  world.takeAll();
  table->poll();
  EXPECT_EQ(value(2), 1);
  EXPECT_EQ(value(3), 2);
}

TEST_F(Qos, aLostCollectionStartsAnewAndSaysSo) {
  use(one, 1);
  stop();
  std::size_t removed = 0;
  for (auto const& file : std::filesystem::recursive_directory_iterator(directory_)) {
    if (file.path().string().find("bursar/Test/table") != std::string::npos && file.is_regular_file()) {
      removed += std::filesystem::remove(file.path()) ? 1u : 0u;
    }
  }
  ASSERT_EQ(removed, 1u);
  start();
  EXPECT_EQ(told.countContaining("are lost"), 1u);
  EXPECT_EQ(table->entrys(), 0u);
  EXPECT_EQ(value(5), 1);
  restart();
  EXPECT_EQ(value(5), 1);
}

// Any order of operations, lives and reports: no two keys share an index, a key keeps its index over a
// restart, and an index that changes hands was out of the hardware before.
TEST_F(Qos, anyOrderKeepsTheIndexesApart) {
  auto const seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  auto pick = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  struct Use {
    bool byOne = false;
    bool byTwo = false;
  };
  std::map<unsigned, Use> uses;
  std::map<unsigned, unsigned> indexOf;        // by key, while it is in use
  std::map<unsigned, unsigned> ownerOf;        // by index: the key that was published with it last
  std::map<unsigned, LogVersion> publishedAt;  // by index: the last record that carried it, or took it away
  must(table->capacityIs(8));

  for (int step = 0; step < 20000; ++step) {
    unsigned const n = 1 + pick(12);
    Client const& client = pick(2) == 0 ? one : two;
    Use& known = uses[n];
    bool& mine = client == one ? known.byOne : known.byTwo;
    switch (pick(8)) {
      case 0:
      case 1:
      case 2: {
        Handle const handle = client->request(key(n), nullptr);
        if (handle->entryState() != EntryState::entryStateDone) break;
        unsigned const index = handle->value();
        if (indexOf.contains(n)) {
          ASSERT_EQ(index, indexOf[n]);
        }
        if (auto const owner = ownerOf.find(index); owner != ownerOf.end() && owner->second != n) {
          auto const still = indexOf.find(owner->second);
          ASSERT_TRUE(still == indexOf.end() || still->second != index)
              << "keys " << n << " and " << owner->second << " share " << index;
          ASSERT_LE(publishedAt[index], world.takenVersion());
        }
        auto const operation = written();
        client->ackUpdate(handle, handle->updateVersion(), operation);
        mine = true;
        indexOf[n] = index;
        ownerOf[index] = n;
        publishedAt[index] = operation->entryTableVersion().logVersion();
        break;
      }
      case 3:
      case 4:
        if (!mine) break;
        publishedAt[indexOf[n]] = drop(client, n);
        mine = false;
        if (!known.byOne && !known.byTwo) indexOf.erase(n);
        break;
      case 5:
        if (pick(2) == 0) world.takeAll();
        table->poll(pick(4));
        break;
      case 6:
        client->request(key(n), nullptr);
        break;
      default: {
        if (pick(60) != 0) break;
        restart();
        must(table->capacityIs(8));
        // Each unit claims what its entries use; then the sweep ends.
        for (auto const& [used, by] : uses) {
          for (Client const& claimant : {by.byOne ? one : Client(), by.byTwo ? two : Client()}) {
            if (!claimant) continue;
            Handle const handle = claimant->request(key(used), nullptr);
            ASSERT_EQ(handle->value(), indexOf[used]);
            claimant->ackUpdate(handle, handle->updateVersion(), nullptr);
          }
        }
        if (pick(2) == 0) table->sweepEnd();
      }
    }
  }
}

}  // namespace
}  // namespace BursarTest
