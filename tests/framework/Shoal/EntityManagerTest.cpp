// Mounting by path, and what is listed.
#include "Shoal/EntityManager.h"

#include <gtest/gtest.h>

#include "TestRecords.h"
#include "support/TraceCapture.h"

namespace ShoalTest {
namespace {

class RowShoal : public Pivot::Node {
 public:
  Shoal::ShoalMapBase& shoalMap() { return map_; }
  RowMap& rows() { return map_; }

 private:
  RowMap map_;
};

TEST(EntityManager, MountsByTypeAndFindsBelow) {
  TestSupport::TraceCapture traces;
  TestSupport::TempStore store;
  VexSharedMem::typeRegister<RowShoal>("ShoalTest::RowShoal", 500);
  auto const manager = VexSharedMem::EntityManager::getEntityManager("sys", true);
  EXPECT_EQ(manager, VexSharedMem::EntityManager::getEntityManager("sys", true));
  EXPECT_NE(manager, VexSharedMem::EntityManager::getEntityManager("sys", false));
  auto const group = manager->getMountGroup();
  VexShoal::MountInfo info(0);
  info.collectionInfoIs("rows", 100, 0);
  for (char const* path : {"t/cfg/10", "t/cfg/9", "t/cfg2/1", "t/cfg"})
    ASSERT_TRUE(group->mount(path, "ShoalTest::RowShoal", info).isOk()) << path;
  EXPECT_TRUE(group->mount("t/cfg/9", "ShoalTest::RowShoal", info).isOk());  // again: the same one
  EXPECT_FALSE(group->mount("t/x", "ShoalTest::Unknown", info).isOk());
  info.collectionInfoIs("rows", 600, 0);
  EXPECT_NE(group->mount("t/cfg/9", "ShoalTest::RowShoal", info).message().find("500"), std::string::npos);
  EXPECT_EQ(traces.countContaining("refused"), 2u);
  group->doClose();

  auto const shoal = boost::dynamic_pointer_cast<RowShoal>(manager->getEntity("t/cfg/9"));
  ASSERT_NE(shoal, nullptr);
  EXPECT_EQ(shoal->rows().capacity(), 500u);
  EXPECT_EQ(shoal->rows().maximum(), 100u);
  put(shoal->rows(), 1, 2);
  EXPECT_EQ(manager->getEntity("t/cfg/8"), nullptr);
  auto const found = manager->findEntities("t/cfg", VexSharedMem::VexSharedMemType::collection);
  EXPECT_EQ(found->count(), (VexSharedMem::ShmemEntities::Count{{"t/cfg/10", 0}, {"t/cfg/9", 1}}));
  EXPECT_EQ(manager->findEntities("t/nothing")->size(), 0u);
}

}  // namespace
}  // namespace ShoalTest
