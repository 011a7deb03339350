// The keys of the resource tables: null keys, hashes that agree with equality, orders, and the texts that
// people read.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"

namespace LoamTunnelNiLib {
namespace {

using LoamAdjLib::L2AdjToFecResourceTableEntryKey;
using LoamCountersLib::CrpsIndexRequestEntryKey;
using LoamQos::QosProfileEntryKey;

IveResourceTableEntryKey edit(TagFormat format, std::uint16_t vlan) {
  return IveResourceTableEntryKey::of(
      format,
      {.action = VlanAction::edit, .tagsRemoved = 2, .tagsAdded = 1, .outerVlan = vlan, .outerTpid = 0x8100});
}

// Each key differs from the others in one field; all hashes differ, and the order is total.
template <class Key>
void expectDistinct(std::vector<Key> const& keys) {
  std::set<std::uint32_t> hashes;
  for (std::size_t a = 0; a < keys.size(); ++a) {
    hashes.insert(keys[a].hash(17));
    for (std::size_t b = 0; b < keys.size(); ++b) {
      EXPECT_EQ(keys[a].isEq(keys[b]), a == b);
      EXPECT_EQ(keys[a] == keys[b], a == b);
      EXPECT_EQ((keys[a] <=> keys[b]) == 0, a == b);
      EXPECT_EQ((keys[a] < keys[b]) != (keys[b] < keys[a]), a != b);
    }
    EXPECT_NE(keys[a].hash(18), keys[a].hash(17)) << "the seed takes part";
  }
  EXPECT_EQ(hashes.size(), keys.size());
}

TEST(Keys, everyFieldTakesPart) {
  Wirekit::IntfId const intf("Ethernet1");
  expectDistinct<InLifDataEntryKey>({InLifDataEntryKey(), InLifDataEntryKey(intf), InLifDataEntryKey(intf, 7),
                                     InLifDataEntryKey(Wirekit::IntfId("Ethernet2"), 7)});
  expectDistinct<LearnEnableEntryKey>(
      {LearnEnableEntryKey(), LearnEnableEntryKey(intf), LearnEnableEntryKey(intf, IntfOrVlanId::kVlan)});
  expectDistinct<QosProfileEntryKey>(
      {QosProfileEntryKey(intf), QosProfileEntryKey(Wirekit::IntfId("Ethernet2"))});
  expectDistinct<CrpsIndexRequestEntryKey>({CrpsIndexRequestEntryKey(), CrpsIndexRequestEntryKey(1),
                                            CrpsIndexRequestEntryKey(1, 5), CrpsIndexRequestEntryKey(1, 5, 2),
                                            CrpsIndexRequestEntryKey(1, 5, 2, 1)});
  expectDistinct<L2AdjToFecResourceTableEntryKey>({L2AdjToFecResourceTableEntryKey(),
                                                   L2AdjToFecResourceTableEntryKey(1),
                                                   L2AdjToFecResourceTableEntryKey(2)});
  expectDistinct<IveResourceTableEntryKey>({edit(TagFormat::untagged, 5), edit(TagFormat::untagged, 6),
                                            edit(TagFormat::other, 5),
                                            edit(tagFormat(TagKind::service, TagKind::customer), 5)});
}

TEST(Keys, areMadeByName) {
  Wirekit::IntfId const intf("Ethernet1.100");
  EXPECT_EQ(InLifDataEntryKey::ofInterface("Ethernet1.100", 7), InLifDataEntryKey(intf, 7));
  EXPECT_EQ(LearnEnableEntryKey::ofInterface("Ethernet1.100"), LearnEnableEntryKey(intf));
  EXPECT_EQ(LearnEnableEntryKey::ofVlan("Vlan7"),
            LearnEnableEntryKey(Wirekit::IntfId("Vlan7"), IntfOrVlanId::kVlan));
  EXPECT_EQ(QosProfileEntryKey::ofInterface("Ethernet1.100"), QosProfileEntryKey(intf));
  EXPECT_EQ(CrpsIndexRequestEntryKey::ofObject(7).onModule(3).onEngine(2).inDirection(1),
            CrpsIndexRequestEntryKey(7, 3, 2, 1));
  EXPECT_EQ(L2AdjToFecResourceTableEntryKey::ofAdjacency(9), L2AdjToFecResourceTableEntryKey(9));
  IveResourceTableEntryKey const two = edit(TagFormat::untagged, 5).with(TagFormat::other, {.editHint = 1});
  EXPECT_EQ(two.vlanEdit.ops[TagFormat::untagged].outerVlan, 5);
  EXPECT_EQ(two.vlanEdit.ops[TagFormat::other].editHint, 1);
  EXPECT_THROW(QosProfileEntryKey::ofInterface("Ethernet"), std::invalid_argument);
}

TEST(Keys, anEditHashesByItsSlotsAlone) {
  EXPECT_EQ(IveResourceTableEntryKey().hash(5), 5u) << "34 default slots add nothing";
  IveResourceTableEntryKey one = edit(TagFormat::untagged, 1);
  std::uint32_t const hash = one.hash(5);
  one.vlanEdit.ops[TagFormat::other] = one.vlanEdit.ops[TagFormat::untagged];
  EXPECT_NE(one.hash(5), hash);
}

TEST(Keys, tagFormatsHaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (unsigned format = 0; format < kTagFormatCount; ++format) {
    names.insert(tagFormatName(static_cast<TagFormat>(format)));
  }
  EXPECT_EQ(names.size(), 34u);
  EXPECT_FALSE(names.contains(""));
  EXPECT_EQ(tagFormatName(tagFormat(TagKind::service, TagKind::customer)), "service+customer");
}

}  // namespace
}  // namespace LoamTunnelNiLib
