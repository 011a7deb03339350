// When a value may be handed to another key: never while anything that was published with it is still on its
// way to the hardware, never while somebody holds it, and never before the clients of this life have had time
// to claim it.
#include <array>
#include <map>
#include <random>

#include "BursarFixture.h"

namespace BursarTest {
namespace {

class Qos : public TableLife<LoamQos::QosProfileResourceTable> {
 protected:
  // A table of one value, which key 1 uses.
  void useTheOnlyValue() {
    mustBeOk(table->capacityIs(1));
    use(one, 1);
  }
  // A further key gets a value only if one has been freed.
  bool free(unsigned n = 2) {
    table->turn();
    return state(n) == EntryState::entryStateDone;
  }
  bool freeOnceTaken(unsigned n = 2) {
    world.takeAll();
    return free(n);
  }
};

TEST_F(Qos, aReleaseWaitsForTheRecordThatItBelongsTo) {
  unsigned n = 1;
  mustBeOk(table->capacityIs(1));
  auto const round = [&](char const* name, bool takenBefore, Pivot::Ptr<Operation> const& operation,
                         auto const& end) {
    SCOPED_TRACE(name);
    use(one, n);
    if (takenBefore) world.takeAll();
    one->release(one->request(key(n), nullptr), operation);
    ++n;
    EXPECT_FALSE(free(n));
    end(operation);
    EXPECT_FALSE(free(n));
    EXPECT_TRUE(freeOnceTaken(n));
  };
  round("without an operation all that is published counts", false, nullptr, [](auto const&) {});
  round("a remove-all releases before its record is written", true, Pivot::make<Operation>(),
        [&](auto const& removeAll) { removeAll->logVersionIs(world.publish()); });
  round("an operation that fails has no record", false, Pivot::make<Operation>(),
        [](auto const& failed) { failed->entryStateIs(EntryState::entryStateFailed); });
}

TEST_F(Qos, whoeverHoldsAHandleKeepsItsValue) {
  useTheOnlyValue();
  {
    Handle const held = one->request(key(1), nullptr);
    drop(one, 1);
    EXPECT_FALSE(freeOnceTaken());
    EXPECT_EQ(one->request(key(1), nullptr), held);
  }
  drop(one, 1);
  EXPECT_TRUE(freeOnceTaken());
}

TEST_F(Qos, keysThatWereAskedForAndNeverUsedMakeRoom) {
  mustBeOk(table->capacityIs(2));
  one->request(key(1), nullptr);
  use(one, 3);
  EXPECT_TRUE(freeOnceTaken());
  EXPECT_EQ(table->handedOut(), 2u);
}

TEST_F(Qos, aSteeredKeyWaitsForItsFirstUser) {
  mustBeOk(table->stateIs(key(1), EntryState::entryStateFailed));
  table->endSweep();
  mustBeOk(table->capacityIs(1));
  EXPECT_FALSE(free());
  EXPECT_EQ(state(1), EntryState::entryStateFailed);
}

TEST_F(Qos, theSweepFreesWhatNobodyClaimed) {
  use(one, 1);
  use(one, 3);
  restart();
  mustBeOk(table->capacityIs(2));
  use(one, 3);
  EXPECT_FALSE(freeOnceTaken());
  LogVersion const last = world.publish();
  table->endSweep();
  EXPECT_FALSE(free());
  world.take(last);
  EXPECT_TRUE(free());
  EXPECT_EQ(value(2), 1);
  EXPECT_EQ(value(3), 2);
}

TEST_F(Qos, aClientThatStartsLateFindsItsKey) {
  useTheOnlyValue();
  use(two, 1);
  restart();
  // The first unit is up and lets the key go; the second one, which uses it too, is yet to come.
  useTheOnlyValue();
  drop(one, 1);
  EXPECT_FALSE(freeOnceTaken());
  EXPECT_EQ(use(two, 1)->value(), 1);
  drop(two, 1);
  table->endSweep();
  EXPECT_TRUE(freeOnceTaken());
}

TEST_F(Qos, aClientThatGoesLeavesItsKeysHandedOut) {
  useTheOnlyValue();
  one = table->makeClientInstance();
  EXPECT_EQ(table->usersOf(key(1)), 0u);
  use(two, 1);
  drop(two, 1);
  EXPECT_TRUE(freeOnceTaken());
}

TEST_F(Qos, aSteeredValueDoesNotBecomeAnIndexNorInTheNextLife) {
  for (bool const nextLife : {false, true}) {
    SCOPED_TRACE(nextLife);
    use(one, 1);
    mustBeOk(table->valueIs(key(1), 200));
    mustBeOk(table->valueIs(key(1), 100));
    if (nextLife) {
      restart();
      EXPECT_EQ(use(one, 1)->value(), 100);
    }
    drop(one, 1);
    table->endSweep();
    mustBeOk(table->capacityIs(1));
    EXPECT_TRUE(freeOnceTaken());
    EXPECT_EQ(value(2), 1);
    drop(one, 2);
    EXPECT_TRUE(freeOnceTaken(1));
  }
}

TEST_F(Qos, aLostCollectionStartsAnewAndSaysSo) {
  use(one, 1);
  stop();
  ASSERT_TRUE(std::filesystem::remove(root.fileOf(kPath)));
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
  std::map<unsigned, std::array<bool, 2>> uses;  // by key and client
  std::map<unsigned, unsigned> indexOf;          // by key, while it is in use
  std::map<unsigned, unsigned> ownerOf;          // by index: the key that was published with it last
  std::map<unsigned, LogVersion> publishedAt;    // by index: the last record that carried it, or took it away
  mustBeOk(table->capacityIs(8));

  for (int step = 0; step < 20000; ++step) {
    unsigned const n = 1 + pick(12);
    unsigned const who = pick(2);
    Client const& client = who == 0 ? one : two;
    auto& known = uses[n];
    unsigned const dice = pick(480);
    if (dice == 0) {
      restart();
      mustBeOk(table->capacityIs(8));
      // Each unit claims what its entries use; then the sweep ends.
      for (auto const& [used, by] : uses) {
        for (Client const& claimant : {by[0] ? one : Client(), by[1] ? two : Client()}) {
          if (!claimant) continue;
          Handle const handle = claimant->request(key(used), nullptr);
          ASSERT_EQ(handle->value(), indexOf[used]);
          claimant->ackUpdate(handle, handle->updateVersion(), nullptr);
        }
      }
      if (pick(2) == 0) table->endSweep();
    } else if (dice < 60) {
      if (pick(2) == 0) world.takeAll();
      table->turn(pick(4));
    } else if (dice < 120) {
      client->request(key(n), nullptr);
    } else if (dice < 240) {
      if (!known[who]) continue;
      publishedAt[indexOf[n]] = drop(client, n);
      known[who] = false;
      if (!known[0] && !known[1]) indexOf.erase(n);
    } else {
      Handle const handle = client->request(key(n), nullptr);
      if (handle->entryState() != EntryState::entryStateDone) continue;
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
      known[who] = true;
      indexOf[n] = index;
      ownerOf[index] = n;
      publishedAt[index] = operation->logVersion();
    }
  }
}

}  // namespace
}  // namespace BursarTest
