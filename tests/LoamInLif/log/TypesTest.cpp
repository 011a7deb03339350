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

TEST(TypeModules, EighteenAreAnnouncedAtLoad) {
  auto const all = Pivot::ModuleInspectData::all();
  EXPECT_EQ(std::count_if(all.begin(), all.end(),
                          [](auto* module) { return std::string_view(module->name).starts_with("_InLif"); }),
            18);
  EXPECT_EQ(Pivot::ModuleInspectData::find("_InLif0Interface_17464a233a8acac_vexModule"),
            &_InLif0Interface_17464a233a8acac_vexModule);
}

TEST(TypeModules, TypesStandInTheirOrder) {
  auto const* const module = &_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule;
  EXPECT_EQ((std::vector<std::string>{module->typeNames, module->typeNames + module->typeCount}),
            (std::vector<std::string>{"LoamInLif::InLif1SwTable::EntryHandle",
                                      "LoamInLif::InLif1SwTable::SwTableEntries_py",
                                      "LoamInLif::InLif1SwTable", "LoamInLif::InLif1SwTableIteratorState"}));
  EXPECT_EQ(_InLif0ResourceTableLinkage_5e663a67bc32cb3_vexModule.typeCount, 20u);
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
