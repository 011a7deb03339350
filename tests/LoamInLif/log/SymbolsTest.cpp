// What libLoamInLif.so shows: the public classes of LoamInLif with their vtables and type information, their
// factories and the type modules. Reads the symbol tables of the two libraries with nm.
#include <gtest/gtest.h>
#include <stdio.h>

#include <set>
#include <string>

namespace {

// The defined symbols of a library, demangled; with `shown` those of its dynamic table.
std::set<std::string> symbolsOf(std::string const& file, bool shown) {
  std::set<std::string> symbols;
  FILE* const lines =
      popen((NM_PROGRAM " -C --defined-only " + std::string(shown ? "-D " : "") + file).c_str(), "r");
  char* line = nullptr;
  std::size_t capacity = 0;
  // Address, kind in one letter, name.
  while (getline(&line, &capacity, lines) > 19) {
    std::string const name(line + 19);
    symbols.insert(name.substr(0, name.find_first_of("\n@")));
  }
  free(line);
  EXPECT_EQ(pclose(lines), 0) << file;
  return symbols;
}

TEST(Symbols, OnlyPublicClassesFactoriesAndModulesShow) {
  std::set<std::string> const shown = symbolsOf(PRODUCT_FILE, true);
  ASSERT_GT(shown.size(), 100u);
  std::size_t modules = 0;
  for (std::string name : shown) {
    if (name.starts_with("_InLif") && name.ends_with("_vexModule")) {
      ++modules;
      continue;
    }
    for (std::string_view prefix :
         {"vtable for ", "typeinfo name for ", "typeinfo for ", "VTT for ", "non-virtual thunk to ",
          "virtual thunk to ", "guard variable for ", "void "}) {  // before what a member template keeps
      if (name.starts_with(prefix)) name.erase(0, prefix.size());
    }
    EXPECT_TRUE(name.starts_with("LoamInLif::")) << name;
    EXPECT_FALSE(name.starts_with("LoamInLif::RestoredUses::")) << name << " is not for clients";
  }
  EXPECT_EQ(modules, 18u);
  for (char const* needed :
       {"vtable for LoamInLif::InLif23SwTable", "typeinfo for LoamInLif::InLif1SwTableHelperBase",
        "typeinfo for LoamInLif::InLif0L2AdjToFecLinkage::LocalUsageUpdateSm",
        "LoamInLif::InterfaceOf<LoamInLif::InLif1>::getIntf(boost::intrusive_ptr<Asic::OrderedTableInterface>"
        " const&)",
        "_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule"}) {
    EXPECT_TRUE(shown.contains(needed)) << needed;
  }
  for (std::string const& name : symbolsOf(FRAMEWORK_FILE, true)) {
    EXPECT_FALSE(shown.contains(name)) << name << " stands in both libraries";
  }
}

// State of the framework that the product kept a copy of would be counted, or set, apart from the
// framework's; and an object of a class whose vtable stands twice is not known again by the other.
TEST(Symbols, NoStateOfTheFrameworkIsCopied) {
  std::set<std::string> const inside = symbolsOf(PRODUCT_FILE, false);
  ASSERT_TRUE(inside.empty() || inside.contains("LoamInLif::InLif1SwTable::memAllocationTracker_"));
  for (std::string const& name : inside) {
    if (name.starts_with("LoamInLif::")) continue;
    EXPECT_FALSE(name.ends_with("::memAllocationTracker_") || name.ends_with("::tsp_")) << name;
  }
  for (std::string const& name : symbolsOf(FRAMEWORK_FILE, true)) {
    if (!name.starts_with("vtable for ") || name.find('<') != name.npos)
      continue;  // templates are made where they are used
    EXPECT_FALSE(inside.contains(name)) << name;
  }
}

}  // namespace
