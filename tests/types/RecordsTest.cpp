// What holds for the records of all classes. What each of them is, types.txt lists.
#include "types/InspectedWorld.h"

namespace {

using namespace TestSupport;
using Pivot::TypeView;

TypeView typeOf(std::string const& name) {
  auto const found = TypeView::find(name);
  EXPECT_TRUE(found) << name;
  return *found;
}

// Bases stand in other modules, which the import table names.
TEST(Records, BasesAreFoundThroughTheImports) {
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
