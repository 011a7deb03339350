// The type modules: names, order and hashes against literal values, and what each class answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "support/AgentWorld.h"
#include "types/Modules.h"

namespace {

using namespace LoamInLif;

std::vector<std::string> namesOf(Pivot::ModuleInspectData const* module) {
  return {module->typeNames, module->typeNames + module->typeCount};
}

TEST(TypeModules, EighteenAreAnnouncedAtLoad) {
  std::size_t announced = 0;
  for (auto const* module : Pivot::ModuleInspectData::all()) {
    if (std::string_view(module->name).starts_with("_InLif")) ++announced;
  }
  EXPECT_EQ(announced, 18u);
  auto const* module = Pivot::ModuleInspectData::find("_InLif0Interface_17464a233a8acac_vexModule");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module, &_InLif0Interface_17464a233a8acac_vexModule);
  EXPECT_EQ(module->version, 1u);
}

TEST(TypeModules, TypesStandInTheirOrder) {
  EXPECT_EQ(namesOf(&_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule),
            (std::vector<std::string>{"LoamInLif::InLif1SwTable::EntryHandle",
                                      "LoamInLif::InLif1SwTable::SwTableEntries_py",
                                      "LoamInLif::InLif1SwTable", "LoamInLif::InLif1SwTableIteratorState"}));
  EXPECT_EQ(namesOf(&_InLif23InfraTypes_ff5f7d432ae54054_vexModule),
            (std::vector<std::string>{"LoamInLif::InLif23EntryWrapper", "LoamInLif::InLif23ResolverEntry"}));
  auto const linkages = namesOf(&_InLif0ResourceTableLinkage_5e663a67bc32cb3_vexModule);
  ASSERT_EQ(linkages.size(), 20u);
  EXPECT_EQ(linkages[0], "LoamInLif::InLif0InLifDataLinkage::LocalUsageUpdateSm");
  EXPECT_EQ(linkages[1], "LoamInLif::InLif0InLifDataLinkage");
  EXPECT_EQ(linkages[18], "LoamInLif::InLif0L2AdjToFecLinkage::LocalUsageUpdateSm");
  EXPECT_EQ(linkages[19], "LoamInLif::InLif0L2AdjToFecLinkage");
}

template <class I>
class TypeDataOf : public testing::Test {};
using Instances = testing::Types<InLif0, InLif1, InLif23>;
TYPED_TEST_SUITE(TypeDataOf, Instances);

// The record that an object names is the one with its class's name.
TYPED_TEST(TypeDataOf, EachObjectNamesItsClass) {
  using I = TypeParam;
  std::string const instance = std::string("LoamInLif::") + I::tableName;
  TestSupport::AgentWorld world;
  auto const interface = world.interface<I>();
  auto const table = interface->makeSwTable(1, nullptr, false);
  auto const handle = table->entryWrite(LoamTunnelNiLib::InLifModelEntryKey(1), {}, nullptr);
  auto const wrapper = table->transientAddEntry(LoamTunnelNiLib::InLifModelEntryKey(1));
  EXPECT_EQ(interface->typeData().name(), instance + "Interface");
  EXPECT_EQ(interface->entryLog()->typeData().name(), instance + "EntryLog");
  EXPECT_EQ(table->typeData().name(), instance + "SwTable");
  EXPECT_EQ(table->swTableHelper()->typeData().name(), instance + "SwTableHelperBase");
  EXPECT_EQ(table->initIterState()->typeData().name(), instance + "SwTableIteratorState");
  EXPECT_EQ(table->getTableEntries_py()->typeData().name(), instance + "SwTable::SwTableEntries_py");
  EXPECT_EQ(handle->typeData().name(), instance + "SwTable::EntryHandle");
  EXPECT_EQ(wrapper->typeData().name(), instance + "EntryWrapper");
  forEachKind([&]<class Kind>() {
    auto const data = table->template linkage<Kind>()->typeData();
    std::string const name = instance + Kind::name + "Linkage";
    EXPECT_EQ(data.name(), name);
    EXPECT_EQ(data.index, 2 * Kinds::indexOf<Kind>() + 1);
    EXPECT_EQ(data.module->typeNames[data.index - 1], name + "::LocalUsageUpdateSm");
  });
}

}  // namespace
