// The records themselves against literal lists, and how a tool finds its way through them.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "types/InspectedWorld.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif23;
using Pivot::TypeView;
using Lines = std::vector<std::string>;

TypeView typeOf(std::string const& name) {
  auto const found = TypeView::find(name);
  EXPECT_TRUE(found) << name;
  return *found;
}

std::string listText(Pivot::Argument const* list) {
  std::string text = "(";
  for (; list->name != nullptr; ++list) text += fmt::format("{}{}", text.size() > 1 ? ", " : "", list->name);
  return text + ")";
}

Lines rowsOf(std::string const& name) {
  Lines lines;
  for (Pivot::AttributeRecord const& row : typeOf(name).attributes()) {
    std::string line = fmt::format("{} {} {}", row.id, row.name, Pivot::attributeKindName(row.kind));
    if (row.arguments != nullptr) line += listText(row.arguments);
    if (row.kind == Pivot::AttributeKind::operation && row.operate == nullptr) line += " listed";
    lines.push_back(line);
  }
  return lines;
}

TEST(Modules, AreAnnouncedUnderTheirNames) {
  Lines announced;
  for (auto const* module : Pivot::ModuleInspectData::all()) {
    std::string const name = module->name;
    if (name.starts_with("_InLif0") || name.starts_with("_InLif1") || name.starts_with("_InLif23")) {
      announced.push_back(fmt::format("{} {} {}", name, module->typeCount, module->version));
      EXPECT_EQ(Pivot::ModuleInspectData::find(name), module);
    }
  }
  std::sort(announced.begin(), announced.end());
  EXPECT_EQ(announced, (Lines{"_InLif0EntryLog_35b047539cb2eed6_vexModule 1 1",
                              "_InLif0InfraTypes_ff40f8de6bfe0227_vexModule 2 1",
                              "_InLif0Interface_17464a233a8acac_vexModule 1 1",
                              "_InLif0ResourceTableLinkage_5e663a67bc32cb3_vexModule 20 1",
                              "_InLif0SwTableHelperBase_8937c5997e158e61_vexModule 1 1",
                              "_InLif0SwTable_cd5c64431dc64b53_vexModule 4 1",
                              "_InLif1EntryLog_8e7f86ddbe969acc_vexModule 1 1",
                              "_InLif1InfraTypes_3fe4f9dc8784cc23_vexModule 2 1",
                              "_InLif1Interface_77dfa9f74b79c2e4_vexModule 1 1",
                              "_InLif1ResourceTableLinkage_23be09ba56905395_vexModule 20 1",
                              "_InLif1SwTableHelperBase_ea1670d5b1bb3408_vexModule 1 1",
                              "_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule 4 1",
                              "_InLif23EntryLog_60aa1d59fa493db5_vexModule 1 1",
                              "_InLif23InfraTypes_ff5f7d432ae54054_vexModule 2 1",
                              "_InLif23Interface_bd289a57633cdedc_vexModule 1 1",
                              "_InLif23ResourceTableLinkage_a49afed830f6dab_vexModule 20 1",
                              "_InLif23SwTableHelperBase_5b266d99e5fd2f67_vexModule 1 1",
                              "_InLif23SwTable_db433ef7bdceed07_vexModule 4 1"}));
}

TEST(Modules, HoldTheirTypesInOrder) {
  auto const namesOf = [](Pivot::ModuleInspectData const& module) {
    return Lines(module.typeNames, module.typeNames + module.typeCount);
  };
  EXPECT_EQ(namesOf(_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule),
            (Lines{"LoamInLif::InLif1SwTable::EntryHandle", "LoamInLif::InLif1SwTable::SwTableEntries_py",
                   "LoamInLif::InLif1SwTable", "LoamInLif::InLif1SwTableIteratorState"}));
  EXPECT_EQ(namesOf(_InLif23InfraTypes_ff5f7d432ae54054_vexModule),
            (Lines{"LoamInLif::InLif23EntryWrapper", "LoamInLif::InLif23ResolverEntry"}));
  Lines linkages;
  for (char const* kind : {"InLifData", "InLifDataVlan", "Srv6EndpointCrpsIndexRequest", "L2CrpsIndexRequest",
                           "L3CrpsIndexRequest", "LearnEnable", "LearnEnableVlan", "VlanEditProfile",
                           "QosProfile", "L2AdjToFec"}) {
    linkages.push_back(fmt::format("LoamInLif::InLif0{}Linkage::LocalUsageUpdateSm", kind));
    linkages.push_back(fmt::format("LoamInLif::InLif0{}Linkage", kind));
  }
  EXPECT_EQ(namesOf(_InLif0ResourceTableLinkage_5e663a67bc32cb3_vexModule), linkages);
}

TEST(Records, OfATable) {
  EXPECT_EQ(rowsOf("LoamInLif::InLif1SwTable"),
            (Lines{"898 swTableHelper stored",
                   "899 transientAddEntry collection",
                   "900 transientRemoveEntry collection",
                   "901 transientVersionForKey collection",
                   "902 transientRemoveAllVersion stored",
                   "903 getTableEntries_py operation()",
                   "904 entryLog stored",
                   "905 groupResolver stored",
                   "907 entryHandleInLog queue",
                   "908 commitEntry operation(resolvedEntry) listed",
                   "909 updateEntry operation(key) listed",
                   "910 getNeededEntrySet operation(entry) listed",
                   "911 isResolverEntryResolved operation(resolverEntry) listed",
                   "912 setRsrcPtrs operation(entry, refresh) listed",
                   "913 entryFromConfig operation(key) listed",
                   "914 restoreEntries operation()",
                   "915 clearTable operation(updateResources)",
                   "916 markedKey collection",
                   "917 inMarkingState stored",
                   "918 inLifDataLinkage stored",
                   "919 inLifDataVlanLinkage stored",
                   "920 srv6EndpointCrpsIndexRequestLinkage stored",
                   "921 l2CrpsIndexRequestLinkage stored",
                   "922 l3CrpsIndexRequestLinkage stored",
                   "923 learnEnableLinkage stored",
                   "924 learnEnableVlanLinkage stored",
                   "925 vlanEditProfileLinkage stored",
                   "926 qosProfileLinkage stored",
                   "927 l2AdjToFecLinkage stored",
                   "928 handleInitialized operation()"}));
}

TEST(Records, OfALinkageAndItsUsers) {
  EXPECT_EQ(rowsOf("LoamInLif::InLif23QosProfileLinkage"),
            (Lines{"130 swTable stored", "131 resTblClient stored",
                   "132 updateLocalUsage operation(swEntry, oldEntry, isDeleted)",
                   "133 entryResolutionState operation(entry)", "134 resolveEntry operation(entry)",
                   "135 getNeededEntrySet operation(entry)", "136 restoreEntry operation(entry)",
                   "137 handleResourceChangeAtInit operation()", "138 entryUsageSm collection(resPtr)",
                   "139 resourceKey operation(entry)", "140 resourceKeyFromEntry operation(entry) listed",
                   "141 resourceHandle operation(entry) listed", "142 setResourceHandle operation(entry)"}));
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif23QosProfileLinkage::LocalUsageUpdateSm"),
      (Lines{"130 resPtr computed", "131 parent computed", "132 swTable computed", "133 resKey computed",
             "134 entryUsage collection", "135 handleResourceChange operation()"}));
}

TEST(Records, OfAWrapper) {
  Lines const rows = rowsOf("LoamInLif::InLif0EntryWrapper");
  ASSERT_EQ(rows.size(), 39u);
  EXPECT_EQ(Lines(rows.begin(), rows.begin() + 8),
            (Lines{"130 entry stored", "131 entryHandle stored", "132 key computed", "133 logEntry computed",
                   "134 rsrcKeys computed", "135 inLifDataKey computed", "136 inLifDataKeyResPtr stored",
                   "137 inLifData operation()"}));
  EXPECT_EQ(Lines(rows.end() - 7, rows.end()),
            (Lines{"162 l2AdjId computed", "163 l2AdjIdResPtr stored", "164 fecId operation()",
                   "165 setResolvedFields operation()", "166 retrieveClientData operation()",
                   "167 finalizeOnSuccess operation(swTable, isDeleted)",
                   "168 finalizeOnFailure operation(swTable, isDeleted)"}));
}

TEST(Records, OfALogAndAnInterface) {
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif1EntryLog"),
      (Lines{
          "258 tableEntryLog stored", "259 tableConfigShoal collection",
          "260 entryIs operation(tableEntry, rsrcKeys, neededEntry, unitId, stats, suppressIdenticalWrites)",
          "261 entryDel operation(key, neededEntry, unitId)", "262 tableDel operation(neededEntry, unitId)",
          "263 entry operation(key, unitId)", "264 entryHas operation(key, unitId)",
          "265 entryRsrcKeys operation(key, unitId)", "266 entryLogVersion operation(key, unitId)",
          "267 entrys operation(unitId)", "268 entrysInDeletion operation(unitId)",
          "269 cleanupEntryLog operation(tableVersion)", "270 mountShoalChangeLog operation()",
          "271 mountShoalConfig operation(unitId, tableVersion)", "272 handleInitialized operation()"}));
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif1Interface"),
      (Lines{"258 tableName stored", "259 tableId computed", "260 groupName stored", "261 agentName stored",
             "262 tableNamespace stored",
             "263 entryLog stored(tableId, entityManager, groupInterface, agentName)",
             "264 swTableStatus stored(tableId)", "265 swTableSet stored(tableId, swTableStatus)",
             "266 makeSwTable operation(unitId, swTableHelper, reset)", "267 getIntf operation(ordTblIntf)",
             "268 handleInitialized operation()", "269 onDelete operation()"}));
}

TEST(Records, ConstructorsAndValueTypes) {
  auto const table = typeOf("LoamInLif::InLif0SwTable");
  EXPECT_EQ(listText(table.record().constructorArguments),
            "(tableName, tableId, unitId, swTableSet, entryLog, groupResolver)");
  EXPECT_STREQ(table.record().constructorArguments[3].type->name, "Asic::OrderedSwTableSet*");
  EXPECT_EQ(listText(typeOf("LoamInLif::InLif0SwTable::EntryHandle").record().constructorArguments),
            "(entryVersion, key, swTable)");
  auto const marked = table.field("markedKey")->attribute;
  EXPECT_STREQ(marked->type->name, "bool");
  EXPECT_STREQ(marked->keyType->name, "LoamTunnelNiLib::InLifModelEntryKey");
  EXPECT_STREQ(
      typeOf("LoamInLif::InLif0InLifDataLinkage::LocalUsageUpdateSm").field("resPtr")->attribute->type->name,
      "Pivot::Ptr<LoamTunnelNiLib::InLifDataResourceTable::ResourceHandle const>");
}

// Bases stand in other modules, which the import table names.
TEST(Records, BasesAreFoundThroughTheImports) {
  Lines chain;
  for (std::optional<TypeView> type = typeOf("LoamInLif::InLif23SwTable"); type; type = type->base()) {
    chain.push_back(type->name());
  }
  EXPECT_EQ(chain, (Lines{"LoamInLif::InLif23SwTable", "LoamTunnelNiLib::InLifModelSwTableBase",
                          "Asic::OrderedSwTableWithMarkSweep", "Asic::OrderedSwTable", "Asic::NamedSwTable",
                          "Asic::SwTableBase", "Vex::Entity", "Pivot::Node"}));
  EXPECT_STREQ(typeOf("LoamInLif::InLif23SwTable").functions().root->rootClass, "Vex::Entity");
  EXPECT_STREQ(typeOf("LoamInLif::InLif23EntryLog").functions().root->rootClass, "Pivot::Node");
  auto const imports = typeOf("LoamInLif::InLif23SwTable").module().imports;
  EXPECT_TRUE(std::any_of(imports.begin(), imports.end(), [](Pivot::TypeData type) {
    return std::string_view(type.module->name) == "_GroupResolver_4df014a59aa7a4f0_vexModule";
  }));
  for (Pivot::TypeData type : imports)
    EXPECT_EQ(Pivot::ModuleInspectData::find(type.module->name), type.module);
}

// Along a chain of bases ids ascend, so that each names one field.
TEST(Records, IdsGrowWithTheDepthOfTheClass) {
  for (auto const* module : Pivot::ModuleInspectData::all()) {
    for (std::uint32_t index = 0; index < module->typeCount; ++index) {
      std::vector<Pivot::FieldId> ids;
      for (auto const& field : TypeView({module, index}).fields()) ids.push_back(field.attribute->id);
      EXPECT_EQ(std::ranges::adjacent_find(ids, std::greater_equal()), ids.end()) << module->typeNames[index];
    }
  }
}

class ValueRecords : public InspectedWorld<InLif23> {};

// A tool goes on from object to struct and from struct to field.
TEST_F(ValueRecords, AreReadFieldByField) {
  Pivot::OpResult entry, part, field;
  EntryKey const key(0);
  void const* const arguments[] = {&key};
  auto const type = TypeView::of(table());
  ASSERT_EQ(type.inspect(entry, table_.get(), type.field("entryRead")->attribute->id, Pivot::OpCode::call,
                         nullptr, arguments),
            Pivot::OpStatus::done);
  auto const view = entry.view();
  ASSERT_TRUE(view);
  EXPECT_STREQ(view->name(), "LoamTunnelNiLib::InLifModelEntry");
  view->inspect(part, entry.object(), view->field("logEntry")->attribute->id, Pivot::OpCode::read);
  auto const logEntry = part.view();
  using Expected = std::vector<std::pair<char const*, char const*>>;
  for (auto const& [name, text] :
       Expected{{"key", "0"}, {"fecId", "0"}, {"inLifData", "0"}, {"qosProfile", "0"}}) {
    logEntry->inspect(field, part.object(), logEntry->field(name)->attribute->id, Pivot::OpCode::read);
    EXPECT_EQ(field.text(), text) << name;
  }
  auto const state = table().initIterState();
  TypeView::of(*state).inspect(field, state.get(), 258, Pivot::OpCode::read);
  EXPECT_STREQ(field.view()->name(), "LoamTunnelNiLib::InLifModelSwTableIteratorState::State");
}

}  // namespace
