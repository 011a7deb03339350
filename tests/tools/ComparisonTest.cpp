// The comparison of the demo finds every kind of difference in a store that an agent and a writer left.
#include <gmock/gmock.h>

#include "Bursar/ResourceShoal.h"
#include "LoamInLif/Kinds.h"
#include "LoamQos/QosProfileResourceTable.h"
#include "support/PlayedAgent.h"
#include "tools/demo/Comparison.h"

namespace {

using namespace Inlif;
using namespace PlayedAgent;
using testing::HasSubstr;
using testing::IsEmpty;

class ComparisonTest : public StartedTest {
 protected:
  // An entry that uses one QoS profile, published with the value that the resource table gave it.
  void publish(std::uint64_t version, unsigned key, char const* intf, std::uint8_t profile) {
    InLifModelEntry entry;
    entry.logEntry.key = InLifModelEntryKey(key);
    entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey::ofInterface(intf);
    wishes_[{kA, 1, key}] = entry;
    entry.logEntry.qosProfile = profile;
    InLifModelConfigShoalEntry config;
    config.tableEntry = entry.logEntry;
    config.rsrcKeys = entry.rsrcKeys;
    config.logVersion = LogVersion(version);
    put(*config_[kA], config);
    record(kA, version, entry.logEntry, 0);
    take(kA, version);
  }
  std::string difference() {
    ComparisonResult const result = compareAll(wishes_);
    EXPECT_EQ(result.equal(), result.examples.empty());
    return result.examples.empty() ? "" : result.examples[0];
  }
  Wishes wishes_;
};

TEST_F(ComparisonTest, findsEveryKindOfDifference) {
  publish(1, 5, "Ethernet1", 3);
  publish(2, 6, "Ethernet1", 3);
  publish(3, 7, "Ethernet2", 4);
  EXPECT_THAT(difference(), IsEmpty());

  auto const differsBy = [&](char const* what, auto change) {
    Wishes const good = wishes_;
    change();
    EXPECT_THAT(difference(), HasSubstr(what));
    wishes_ = good;
  };
  differsBy("InLif0 unit 1 key 8 is wanted and not in the store", [&] {
    wishes_[{kA, 1, 8}] = InLifModelEntry();
  });
  differsBy("key 7 is in the store and not wanted", [&] { wishes_.erase({kA, 1, 7}); });
  differsBy("key 6 is wanted as", [&] { wishes_[{kA, 1, 6}].logEntry.client[3] = std::byte{1}; });
  differsBy("key 6 is wanted as", [&] { wishes_[{kA, 1, 6}].rsrcKeys.l2AdjId.adjId = 9; });

  publish(4, 6, "Ethernet1", 9);
  EXPECT_THAT(difference(), HasSubstr("is wanted as")) << "one key, two values";
  publish(5, 6, "Ethernet1", 3);
  EXPECT_THAT(difference(), IsEmpty());

  configure(kA, 6, 70, 0);
  wishes_[{kA, 1, 70}].logEntry.key = InLifModelEntryKey(70);
  EXPECT_THAT(difference(), HasSubstr("key 70 is in the store and not in the image"));
  record(kA, 6, entryOf(70, 1), 0);
  take(kA, 6);
  EXPECT_THAT(difference(), HasSubstr("key 70 is stored as"));
  configure(kA, 7, 70, 0, true);
  wishes_.erase({kA, 1, 70});
  EXPECT_THAT(difference(), HasSubstr("key 70 is in the image and not in the store"));
}

TEST_F(ComparisonTest, takesValuesFromTheResourceTables) {
  Map<BursarResourceTable::ResourceRecord<LoamQos::QosProfileTraits>> profiles;
  mount(profiles, "bursar/LoamQos/QosProfile.LoamInLif", 255);
  publish(1, 5, "Ethernet1", 3);
  EXPECT_THAT(difference(), HasSubstr("which is not handed out"));
  put(profiles, {3, 3, wishes_[{kA, 1, 5}].rsrcKeys.qosProfileKey, 4, {}});
  EXPECT_THAT(difference(), IsEmpty());
  publish(2, 5, "Ethernet1", 4);
  EXPECT_THAT(difference(), HasSubstr("is wanted as"));
  publish(3, 5, "Ethernet1", 3);
  publish(4, 6, "Ethernet2", 9);
  put(profiles, {9, 3, wishes_[{kA, 1, 6}].rsrcKeys.qosProfileKey, 4, {}});
  EXPECT_THAT(difference(), HasSubstr("both have index 3"));
}

}  // namespace
