// A resource table as its users see it, on a store of its own, with the group around it played by the test:
// `written()` is a record in some table's log, `take()` the writer of the hardware taking it. A resource
// table of any class comes to life with `start`, and `restart` ends that life and begins the next one on the
// same store.
#pragma once

#include <gtest/gtest.h>
#include <utility>

#include "Bursar/ResourceTableOf.h"
#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"
#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"
#include "LoamQos/QosProfileResourceTable.h"
#include "LoamTunnelNiLib/InLifDataResourceTable.h"
#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"
#include "LoamTunnelNiLib/LearnEnableResourceTable.h"
#include "support/Listener.h"
#include "support/Receipt.h"
#include "support/ResourceKeys.h"
#include "support/TempStore.h"
#include "support/TraceCapture.h"

namespace BursarTest {

using Asic::EntryState;
using Asic::LogVersion;
using Asic::SwTableId;
using Asic::TableVersion;
using TestSupport::mustBeOk;

inline constexpr SwTableId kTable = TestSupport::kReceiptTable;

// The group: versions rise as records are published, and fall behind until they are taken.
class World final : public BursarResourceTable::Surroundings {
 public:
  bool isTaken(TableVersion const& version) const override { return version.logVersion() <= taken_; }
  Pivot::Ptr<Asic::NeededEntry const> published() const override {
    auto versions = Pivot::make<Asic::NeededEntry>();
    versions->add(TableVersion(kTable, published_));
    return versions;
  }
  void resourceSettled() override { ++notices; }

  LogVersion publish() { return published_ = LogVersion(published_.value() + 1); }
  void take(LogVersion version) { taken_ = std::max(taken_, version); }
  void takeAll() { taken_ = published_; }
  LogVersion takenVersion() const { return taken_; }

  int notices = 0;

 private:
  LogVersion published_{};
  LogVersion taken_{};
};

// The receipt of an operation; without a version as long as its record is not written.
using Operation = TestSupport::Receipt;

// Hears a handle, and notes what it looked like then.
class Ear : public TestSupport::Listener {
 public:
  explicit Ear(Pivot::Ptr<BursarResourceTable::ResourceHandle const> const& handle)
      : Listener(handle->publisher()) {
    react = [this, handle](void const*) {
      EXPECT_EQ(said().at(0).substr(0, 3), "517");
      ++heard;
      postRelease = handle->isPostReleaseProtoState();
      version = handle->updateVersion();
    };
  }
  int heard = 0;
  bool postRelease = false;
  std::uint32_t version = 0;
};

template <class Table>
class TableLife : public ::testing::Test {
 public:
  using Key = typename Table::Key;
  using Client = Pivot::Ptr<typename Table::ClientInstance>;
  using Handle = Pivot::Ptr<typename Table::ResourceHandle const>;

  TableLife() { start(); }
  ~TableLife() override { stop(); }

  void start() {
    root.claim();
    auto store = Pivot::make<typename Table::Store>();
    mustBeOk(store->shoalMap().mount({kPath, Table::kMaxKeys, 0, VexSharedMem::StoreRoot::Role::agent}));
    table = Pivot::make<Table>(
        Pivot::make<Asic::CanonicalTableName>(Asic::OrderedTableType::resourceTable, "", "Test", "table"),
        world, std::move(store));
    one = table->makeClientInstance();
    two = table->makeClientInstance();
  }
  void stop() {
    one = two = nullptr;
    table = nullptr;
    VexSharedMem::StoreRoot::release();
  }
  void restart() {
    stop();
    start();
  }

  static Key key(unsigned n) { return TestSupport::keyOfType<Key>(n); }
  // A record in the log, as the operation that wrote it.
  Pivot::Ptr<Operation> written() { return Pivot::make<Operation>(world.publish()); }
  // One committed use of a key, from its request to its acknowledgement.
  Handle use(Client const& client, unsigned n) {
    Handle const handle = client->request(key(n), nullptr);
    client->ackUpdate(handle, handle->updateVersion(), written());
    return handle;
  }
  // The last use of a key goes with a record of its own, which is returned.
  LogVersion drop(Client const& client, unsigned n) {
    auto const operation = written();
    client->release(client->request(key(n), nullptr), operation);
    return operation->entryTableVersion().logVersion();
  }
  auto value(unsigned n) { return one->request(key(n), nullptr)->value(); }
  EntryState state(unsigned n) { return one->request(key(n), nullptr)->entryState(); }

  static constexpr char const* kPath = "bursar/Test/table";
  // Full tables and losses, which these tests make on purpose, are told at level 1.
  TestSupport::TempStore root;
  TestSupport::TraceCapture told{"BursarResourceTable", 1};
  World world;
  Pivot::Ptr<Table> table;
  Client one;
  Client two;
};

}  // namespace BursarTest
