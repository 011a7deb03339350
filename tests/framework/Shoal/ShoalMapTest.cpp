// The map against std::map, its walk, its room, and one life after another.
#include "Shoal/ShoalMap.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>

#include "TestRecords.h"

namespace ShoalTest {
namespace {

using TestSupport::TempStore;

class ShoalMapTest : public ::testing::Test {
 protected:
  ShoalMapTest() { store_.claim(); }
  TempStore store_;
};

// Keys with every kind of neighbourhood: dense, strides that share their low bits, and random ones.
std::uint32_t someKey(Random& random) {
  std::uint32_t const dice = random() % 3;
  return dice == 0 ? random() % 300 : dice == 1 ? (random() % 100) << 16 : random() & 0x1FFFF;
}

TEST_F(ShoalMapTest, RandomOperationsAndRestartsAgreeWithAMap) {
  unsigned const seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  Random random(seed);
  Oracle oracle;
  constexpr std::uint32_t kCapacity = 1000;
  auto map = mounted("a/rows", kCapacity);
  std::uint64_t const incarnation = map->collectionControl().incarnation();
  for (int life = 0; life < 10; ++life) {
    for (int i = 0; i < 5000; ++i) {
      std::uint32_t const key = someKey(random);
      std::uint32_t const value = random();
      std::uint32_t const dice = random() % 4;
      Row const* const row = map->find(key);
      ASSERT_EQ(row == nullptr ? -1 : std::int64_t{row->value},
                oracle.contains(key) ? std::int64_t{oracle[key]} : -1);
      if (dice == 0) {
        ASSERT_EQ(map->del(key), oracle.erase(key) != 0);
      } else if (oracle.contains(key) || (dice != 1 && oracle.size() < kCapacity)) {
        put(*map, key, value + 1);
        put(*map, key, value);
        oracle[key] = value;
      }
      ASSERT_EQ(map->size(), oracle.size());
    }
    ASSERT_EQ(contents(*map), oracle);
    map->collectionControl().scratchpadIs(static_cast<std::uint64_t>(life) << 33 | 5);
    map.reset();
    store_.reopen();
    map = mounted("a/rows", kCapacity);
    ASSERT_EQ(contents(*map), oracle);
    ASSERT_EQ(map->size(), oracle.size());
    ASSERT_EQ(map->collectionControl().scratchpad(), static_cast<std::uint64_t>(life) << 33 | 5);
    ASSERT_EQ(map->collectionControl().incarnation(), incarnation);
    ASSERT_FALSE(map->collectionControl().wiped());
  }
}

// A member that stays is delivered exactly once, whatever happens between two steps, the current record's
// removal included.
TEST_F(ShoalMapTest, AWalkIsCompleteForWhatStays) {
  Random random(7);
  auto map = mounted("rows", 4000);
  for (std::uint32_t key = 0; key < 1000; ++key) put(*map, key, 1);
  std::map<std::uint32_t, int> seen;
  std::set<std::uint32_t> touched;
  Shoal::IterHint hint;
  for (Row const* row = map->first(hint); row != nullptr;) {
    std::uint32_t const key = row->key;
    ++seen[key];
    std::uint32_t const other = random() % 2000;
    if (other >= 500) {  // 0 to 499 stay, but may be replaced
      touched.insert(other);
      if (random() % 2 == 0)
        map->del(other);
      else
        put(*map, other, 2);
    } else if (map->has(other)) {
      put(*map, other, 3);
    }
    if (key >= 500 && random() % 3 == 0) {
      touched.insert(key);
      map->del(key);
    }
    row = map->next(key, hint);
  }
  for (std::uint32_t key = 0; key < 1000; ++key)
    if (!touched.contains(key)) {
      EXPECT_EQ(seen[key], 1) << key;
    }
  for (auto const& [key, times] : seen) EXPECT_EQ(times, 1) << key;
}

TEST_F(ShoalMapTest, AFullCollectionReplacesButTakesNoMore) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a forked child owns no store
  auto map = mounted("rows", 600);
  ASSERT_TRUE(map->reserve(600).isOk());
  EXPECT_FALSE(map->reserve(601).isOk());
  for (std::uint32_t key = 0; key < 600; ++key) map->set(Row::of(key << 20, 1));
  EXPECT_NE(map->reserve(1).message().find("full"), std::string::npos);
  for (std::uint32_t round = 2; round < 5; ++round)
    for (std::uint32_t key = 0; key < 600; ++key) map->set(Row::of(key << 20, round));
  EXPECT_EQ(contents(*map).size(), 600u);
  EXPECT_DEATH(map->set(Row::of(1, 1)), "there is room for the record");
  EXPECT_TRUE(map->del(0));
  EXPECT_TRUE(map->reserve(1).isOk());
}

// Memory follows the records: a large empty collection takes next to none, and neighbouring versions share
// their frames.
TEST_F(ShoalMapTest, MemoryFollowsTheRecords) {
  auto map = mounted("rows", 1u << 21);
  auto const bytes = [&] { return std::filesystem::file_size(store_.fileOf("rows")); };
  auto const blocks = [&] {
    struct stat status;
    EXPECT_EQ(::stat(store_.fileOf("rows").c_str(), &status), 0);
    return static_cast<std::uint64_t>(status.st_blocks) * 512;
  };
  EXPECT_GT(bytes(), 200u << 20);
  EXPECT_LT(blocks(), 64u << 10);
  for (std::uint32_t version = 1; version <= 5000; ++version) put(*map, version, 1);
  EXPECT_LT(blocks(), 5000u * 128 * 5 / 4 + (200u << 10));
}

// The format is shared with files of earlier builds: literal numbers. Checks, places of keys and links are those that
// scripts/read-collection makes anew.
TEST_F(ShoalMapTest, FormatStandsStill) {
  EXPECT_EQ(Shoal::Geometry::of(784, 4, 65536).slotStride, 832u);
  EXPECT_EQ(Shoal::Geometry::of(112, 8, 1u << 21).slotStride, 128u);
  EXPECT_EQ(Shoal::Geometry::of(784, 4, 65536).frameOffset, 4096u + 4096u);
  EXPECT_EQ(Shoal::Geometry::of(784, 4, 65536).slotOffset, 8192u + 524288u);
  EXPECT_EQ(Shoal::Geometry::of(104, 4, 16).bucketCount, 512u);
  EXPECT_EQ(Shoal::slotChecksum(0x5000000000000, 0x18003), 0x5000000000007u);
}

}  // namespace
}  // namespace ShoalTest
