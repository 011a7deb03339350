// The collection types by path and type name, as the entry log and the agent mount them, and what a second
// life finds there.
#include <gtest/gtest.h>

#include "Bursar/GroupSurroundings.h"
#include "LoamTunnelNiLib/InLifDataResourceTable.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "LoamTunnelNiLib/ResourceTables.h"
#include "Shoal/EntityManager.h"
#include "Statehub/EntityManager.h"
#include "support/TempStore.h"

namespace LoamTunnelNiLib {
namespace {

class Collections : public ::testing::Test {
 protected:
  Collections() { begin(); }
  void begin() {
    root_.reopen();
    store_ = VexSharedMem::EntityManager::getEntityManager("test", true);
  }
  template <class Shoal>
  Pivot::Ptr<Shoal> mounted(std::string const& path) {
    VexShoal::MountInfo info(0);
    info.collectionInfoIs(Shoal::kAttribute, Shoal::kMaxEntries, 0);
    TestSupport::mustBeOk(store_->getMountGroup()->mount(path, Shoal::kTypeName, info));
    return boost::dynamic_pointer_cast<Shoal>(store_->getEntity(path));
  }

  TestSupport::TempStore root_;
  Pivot::Ptr<VexSharedMem::EntityManager> store_;
};

TEST_F(Collections, aRecordPutTogetherFromItsPartsIsTheSameRecord) {
  auto const logs = mounted<InLifModelEntryLogShoal>("test/log");
  EXPECT_EQ(logs->entryLogConfig().capacity(), 2097152u) << "room for what must be published";
  auto const configs = mounted<InLifModelConfigShoal>("test/config/0");
  EXPECT_EQ(configs->swTableEntries().maximum(), 65536u);
  InLifModelConfigShoalEntry config;
  config.tableEntry.key = InLifModelEntryKey(5);
  config.rsrcKeys.l2AdjId = LoamAdjLib::L2AdjToFecResourceTableEntryKey(7);
  config.logVersion = Asic::LogVersion(8);
  config.isDeleted = 1;
  TestSupport::mustBeOk(configs->swTableEntries().reserve(1));
  configs->swTableEntriesIs(config.tableEntry, config.rsrcKeys, config.logVersion, true);
  bool found = false;
  EXPECT_TRUE(configs->swTableEntries().lookup(InLifModelEntryKey(5), found).isEq(config));
  EXPECT_TRUE(
      configs->swTableEntries().lookup(InLifModelEntryKey(6), found).isEq(InLifModelConfigShoalEntry()));
  EXPECT_FALSE(found);
}

TEST_F(Collections, resourceTablesRememberUntilTheSweep) {
  for (int life = 0; life < 3; ++life) {
    auto const orderedTables =
        Pivot::make<Asic::OrderedTableInterface>(Pivot::make<Statehub::EntityManager>("test", true));
    BursarResourceTable::GroupSurroundings surroundings(*orderedTables);
    ResourceTables tables;
    TestSupport::mustBeOk(tables.make(*orderedTables, surroundings, store_));
    auto const data = boost::dynamic_pointer_cast<InLifDataResourceTable>(
        orderedTables->resourceTable("ResourceTable.LoamTunnelNiLib::InLifData.clientLoamInLif"));
    ASSERT_TRUE(data);
    EXPECT_EQ(data->entrys(), life == 0 ? 0u : 1u);
    if (life < 2) {
      data->makeClientInstance()->request(InLifDataEntryKey(Wirekit::IntfId("Ethernet7")), nullptr);
    } else {
      orderedTables->freeUnclaimed();
      EXPECT_EQ(data->entrys(), 0u) << "nobody has claimed it";
    }
    orderedTables->takeDown();
    tables = ResourceTables();
    begin();
  }
}

}  // namespace
}  // namespace LoamTunnelNiLib
