// The constants of instances and kinds against literal values: what a client, the store and the resource
// tables know them by.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "LoamInLif/InLifNResourceTableLinkage.h"

namespace LinkageTests {

using namespace LoamInLif;

TEST(Kinds, StandInLinkageOrderWithTheirResourceTables) {
  std::vector<std::string> rows;
  forEachKind([&]<class Kind>() {
    rows.push_back(std::to_string(Kind::tableFieldId) + " " + Kind::tableAttribute + " " +
                   Kind::resourceNamespace + "::" + Kind::resourceTableName + " " +
                   std::to_string(sizeof(Kind::defaultValue)) + " " + std::to_string(Kind::defaultValue));
  });
  EXPECT_EQ(
      (std::vector<std::string>{
          "918 inLifDataLinkage LoamTunnelNiLib::InLifData.clientLoamInLif 8 0",
          "919 inLifDataVlanLinkage LoamTunnelNiLib::InLifData.clientLoamInLif 8 0",
          "920 srv6EndpointCrpsIndexRequestLinkage LoamCountersLib::CrpsIndexRequest.Srv6Endpoint 4 "
          "4294967295",
          "921 l2CrpsIndexRequestLinkage LoamCountersLib::CrpsIndexRequest.L2SubInterfaceIngress 4 "
          "4294967295",
          "922 l3CrpsIndexRequestLinkage LoamCountersLib::CrpsIndexRequest.SubInterfaceIngress 4 4294967295",
          "923 learnEnableLinkage LoamTunnelNiLib::LearnEnable.clientLoamInLif 1 1",
          "924 learnEnableVlanLinkage LoamTunnelNiLib::LearnEnable.clientLoamInLif 1 1",
          "925 vlanEditProfileLinkage LoamTunnelNiLib::IveResourceTable.featureLoamInLif 1 0",
          "926 qosProfileLinkage LoamQos::QosProfile.LoamInLif 1 0",
          "927 l2AdjToFecLinkage LoamAdjLib::L2AdjToFecResourceTable.LoamInLif 4 0"}),
      rows);
}

TEST(Kinds, NullKeysAreWhatAnEntryHasByDefault) {
  LoamTunnelNiLib::InLifModelResourceKeys const keys;
  LoamTunnelNiLib::InLifModelLogEntry const logEntry;
  forEachKind([&]<class Kind>() {
    EXPECT_TRUE(Kind::isNullKey(keys.*Kind::keyField)) << Kind::name;
    EXPECT_EQ(Kind::defaultValue, logEntry.*Kind::resolvedField) << Kind::name;
    EXPECT_EQ(std::string(" ResourceTable: ") + Kind::resourceNamespace + "::" + Kind::resourceTableName +
                  " started or restored with {} entries",
              Kind::startMessage);
  });
}

TEST(Instances, HaveIdsOfTheirOwn) {
  EXPECT_EQ(Asic::SwTableId(0x14080401), InLif0::tableId);
  EXPECT_EQ(Asic::SwTableId(0x14080402), InLif1::tableId);
  EXPECT_EQ(Asic::SwTableId(0x14080403), InLif23::tableId);
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
TEST(Linkages, AnAccountMemberStaysSmall) {
  EXPECT_EQ(64u, sizeof(InLif0QosProfileLinkage::LocalUsageUpdateSm));
}

}  // namespace LinkageTests
