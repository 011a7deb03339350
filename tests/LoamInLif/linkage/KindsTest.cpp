// The constants of instances and kinds against each other.
#include <gtest/gtest.h>

#include <set>

#include "LoamInLif/InLifNResourceTableLinkage.h"

namespace LinkageTests {

using namespace LoamInLif;

TEST(Kinds, NullKeysAreWhatAnEntryHasByDefault) {
  LoamTunnelNiLib::InLifModelResourceKeys const keys;
  LoamTunnelNiLib::InLifModelLogEntry const logEntry;
  forEachKind([&]<class Kind>() {
    EXPECT_TRUE(Kind::isNullKey(keys.*Kind::keyField)) << Kind::name;
    EXPECT_EQ(Kind::defaultValue, logEntry.*Kind::resolvedField) << Kind::name;
  });
}

// Equal seeds would put the members of two collections into the same order.
TEST(Instances, EachCollectionHasASeedOfItsOwn) {
  std::set<std::uint32_t> seeds;
  std::size_t count = 0;
  auto const add = [&]<class I>(std::type_identity<I>) {
    forEachKind([&]<class Kind>() {
      seeds.insert({LinkageSeeds<I, Kind>::entryUsageSm, LinkageSeeds<I, Kind>::entryUsage});
      count += 2;
    });
    seeds.insert({I::Seeds::tableEntries, I::Seeds::transientAddEntry, I::Seeds::transientRemoveEntry,
                  I::Seeds::transientVersionForKey, I::Seeds::markedKey, I::Seeds::tableConfigShoal});
    count += 6;
  };
  add(std::type_identity<InLif0>()), add(std::type_identity<InLif1>()), add(std::type_identity<InLif23>());
  EXPECT_EQ(count, seeds.size());
}

// The layout that 65,536 entries with private keys pay for ten times over.
static_assert(sizeof(InLif0QosProfileLinkage::LocalUsageUpdateSm) == 48);

}  // namespace LinkageTests
