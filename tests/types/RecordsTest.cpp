// The records themselves against literal lists.
#include <fmt/format.h>

#include "types/InspectedWorld.h"

namespace {

using namespace TestSupport;
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

// The rows of a class, one after the other.
std::string rowsOf(std::string const& name) {
  std::string rows;
  for (Pivot::AttributeRecord const& row : typeOf(name).attributes()) {
    rows += fmt::format("{}{} {} {}", rows.empty() ? "" : "; ", row.id, row.name,
                        Pivot::attributeKindName(row.kind));
    if (row.arguments != nullptr) rows += listText(row.arguments);
    if (row.kind == Pivot::AttributeKind::operation && row.operate == nullptr) rows += " listed";
  }
  return rows;
}

TEST(Modules, AreAnnouncedUnderTheirNames) {
  struct Unit {
    char const *name, *of0, *of1, *of23;
    std::uint32_t types;
  };
  for (Unit const& unit : {
           Unit{"EntryLog", "35b047539cb2eed6", "8e7f86ddbe969acc", "60aa1d59fa493db5", 1},
           Unit{"InfraTypes", "ff40f8de6bfe0227", "3fe4f9dc8784cc23", "ff5f7d432ae54054", 2},
           Unit{"Interface", "17464a233a8acac", "77dfa9f74b79c2e4", "bd289a57633cdedc", 1},
           Unit{"ResourceTableLinkage", "5e663a67bc32cb3", "23be09ba56905395", "a49afed830f6dab", 20},
           Unit{"SwTableHelperBase", "8937c5997e158e61", "ea1670d5b1bb3408", "5b266d99e5fd2f67", 1},
           Unit{"SwTable", "cd5c64431dc64b53", "3bfd1ff2f83eb2a5", "db433ef7bdceed07", 4},
       }) {
    for (auto const& [instance, hash] :
         {std::pair{"InLif0", unit.of0}, {"InLif1", unit.of1}, {"InLif23", unit.of23}}) {
      std::string const name = fmt::format("_{}{}_{}_vexModule", instance, unit.name, hash);
      auto const* const module = Pivot::ModuleInspectData::find(name);
      ASSERT_NE(module, nullptr) << name;
      EXPECT_EQ(module->typeCount, unit.types) << name;
      EXPECT_EQ(module->version, 1u) << name;
    }
  }
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
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif1SwTable"),
      "898 swTableHelper stored; 899 transientAddEntry collection; 900 transientRemoveEntry collection; "
      "901 transientVersionForKey collection; 902 transientRemoveAllVersion stored; "
      "903 getTableEntries_py operation(); 904 entryLog stored; 905 groupResolver stored; "
      "907 entryHandleInLog queue; 908 commitEntry operation(resolvedEntry) listed; "
      "909 updateEntry operation(key) listed; 910 getNeededEntrySet operation(entry) listed; "
      "911 isResolverEntryResolved operation(resolverEntry) listed; "
      "912 setRsrcPtrs operation(entry, refresh) listed; 913 entryFromConfig operation(key) listed; "
      "914 restoreEntries operation(); 915 clearTable operation(updateResources); "
      "916 markedKey collection; 917 inMarkingState stored; 918 inLifDataLinkage stored; "
      "919 inLifDataVlanLinkage stored; 920 srv6EndpointCrpsIndexRequestLinkage stored; "
      "921 l2CrpsIndexRequestLinkage stored; 922 l3CrpsIndexRequestLinkage stored; "
      "923 learnEnableLinkage stored; 924 learnEnableVlanLinkage stored; "
      "925 vlanEditProfileLinkage stored; 926 qosProfileLinkage stored; 927 l2AdjToFecLinkage stored; "
      "928 handleInitialized operation()");
}

TEST(Records, OfALinkageAndItsUsers) {
  EXPECT_EQ(rowsOf("LoamInLif::InLif23QosProfileLinkage"),
            "130 swTable stored; 131 resTblClient stored; "
            "132 updateLocalUsage operation(swEntry, oldEntry, isDeleted); "
            "133 entryResolutionState operation(entry); 134 resolveEntry operation(entry); "
            "135 getNeededEntrySet operation(entry); 136 restoreEntry operation(entry); "
            "137 handleResourceChangeAtInit operation(); 138 entryUsageSm collection(resPtr); "
            "139 resourceKey operation(entry); 140 resourceKeyFromEntry operation(entry) listed; "
            "141 resourceHandle operation(entry) listed; 142 setResourceHandle operation(entry)");
  EXPECT_EQ(rowsOf("LoamInLif::InLif23QosProfileLinkage::LocalUsageUpdateSm"),
            "130 resPtr computed; 131 parent computed; 132 swTable computed; 133 resKey computed; "
            "134 entryUsage collection; 135 handleResourceChange operation()");
}

TEST(Records, OfAWrapper) {
  std::string const rows = rowsOf("LoamInLif::InLif0EntryWrapper");
  EXPECT_TRUE(
      rows.starts_with("130 entry stored; 131 entryHandle stored; 132 key computed; 133 logEntry computed; "
                       "134 rsrcKeys computed; 135 inLifDataKey computed; 136 inLifDataKeyResPtr stored; "
                       "137 inLifData operation(); 138 "))
      << rows;
  EXPECT_TRUE(
      rows.ends_with("; 162 l2AdjId computed; 163 l2AdjIdResPtr stored; 164 fecId operation(); "
                     "165 setResolvedFields operation(); 166 retrieveClientData operation(); "
                     "167 finalizeOnSuccess operation(swTable, isDeleted); 168 finalizeOnFailure "
                     "operation(swTable, isDeleted)"))
      << rows;
}

TEST(Records, OfALogAndAnInterface) {
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif1EntryLog"),
      "258 tableEntryLog stored; 259 tableConfigShoal collection; "
      "260 entryIs operation(tableEntry, rsrcKeys, neededEntry, unitId, stats, suppressIdenticalWrites); "
      "261 entryDel operation(key, neededEntry, unitId); 262 tableDel operation(neededEntry, unitId); "
      "263 entry operation(key, unitId); 264 entryHas operation(key, unitId); "
      "265 entryRsrcKeys operation(key, unitId); 266 entryLogVersion operation(key, unitId); "
      "267 entrys operation(unitId); 268 entrysInDeletion operation(unitId); "
      "269 cleanupEntryLog operation(tableVersion); 270 mountShoalChangeLog operation(); "
      "271 mountShoalConfig operation(unitId, tableVersion); 272 handleInitialized operation()");
  EXPECT_EQ(
      rowsOf("LoamInLif::InLif1Interface"),
      "258 tableName stored; 259 tableId computed; 260 groupName stored; 261 agentName stored; "
      "262 tableNamespace stored; 263 entryLog stored(tableId, entityManager, groupInterface, agentName); "
      "264 swTableStatus stored(tableId); 265 swTableSet stored(tableId, swTableStatus); "
      "266 makeSwTable operation(unitId, swTableHelper, reset); 267 getIntf operation(ordTblIntf); "
      "268 handleInitialized operation(); 269 onDelete operation()");
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

}  // namespace
