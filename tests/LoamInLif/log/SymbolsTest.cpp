// What libLoamInLif.so shows: the public classes of LoamInLif with their vtables and type information, their
// factories and the type modules. Reads the dynamic symbol tables of the two libraries as files.
#include <cxxabi.h>
#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

struct Symbols {
  /// Defined and shown to others.
  std::set<std::string> shown;
  /// Defined and kept inside.
  std::set<std::string> inside;
};

std::string demangled(char const* name) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> const text(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                    &std::free);
  return status == 0 ? std::string(text.get()) : std::string(name);
}

/// The defined symbols of a library, demangled.
Symbols symbolsOf(char const* file) {
  std::ifstream stream(file, std::ios::binary);
  std::vector<char> const bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  auto const read = [&]<class T>(T& value, std::size_t at) {
    std::memcpy(&value, bytes.data() + at, sizeof(T));
  };
  Elf64_Ehdr header{};
  read(header, 0);
  EXPECT_EQ(std::memcmp(header.e_ident, ELFMAG, SELFMAG), 0) << file;
  std::vector<Elf64_Shdr> sections(header.e_shnum);
  for (std::size_t i = 0; i < sections.size(); ++i)
    read(sections[i], header.e_shoff + i * sizeof(Elf64_Shdr));
  Symbols symbols;
  for (Elf64_Shdr const& section : sections) {
    if (section.sh_type != SHT_DYNSYM && section.sh_type != SHT_SYMTAB) continue;
    char const* const names = bytes.data() + sections[section.sh_link].sh_offset;
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol{};
      read(symbol, section.sh_offset + at);
      if (symbol.st_shndx == SHN_UNDEF) continue;
      (section.sh_type == SHT_DYNSYM ? symbols.shown : symbols.inside)
          .insert(demangled(names + symbol.st_name));
    }
  }
  return symbols;
}

/// What a symbol belongs to: without the words in front of a vtable or type information, and without the
/// return type in front of a function template's name.
std::string owner(std::string name) {
  for (std::string_view prefix : {"vtable for ", "typeinfo name for ", "typeinfo for ", "VTT for ",
                                  "non-virtual thunk to ", "virtual thunk to ", "guard variable for "}) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return name;
}

TEST(Symbols, OnlyPublicClassesFactoriesAndModulesShow) {
  Symbols const product = symbolsOf(PRODUCT_FILE);
  ASSERT_GT(product.shown.size(), 100u);
  std::size_t modules = 0;
  for (std::string const& name : product.shown) {
    if (name.starts_with("_InLif") && name.ends_with("_vexModule")) {
      ++modules;
      continue;
    }
    std::string const of = owner(name);
    EXPECT_TRUE(of.starts_with("LoamInLif::")) << name;
    EXPECT_FALSE(of.starts_with("LoamInLif::EntryLogCore::")) << name;
  }
  EXPECT_EQ(modules, 18u);
  for (char const* needed :
       {"vtable for LoamInLif::InLif23SwTable", "typeinfo for LoamInLif::InLif1SwTableHelperBase",
        "typeinfo for LoamInLif::InLif0L2AdjToFecLinkage::LocalUsageUpdateSm",
        "LoamInLif::InterfaceOf<LoamInLif::InLif1>::getIntf(boost::intrusive_ptr<Asic::OrderedTableInterface>"
        " const&)",
        "_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule"}) {
    EXPECT_TRUE(product.shown.contains(needed)) << needed;
  }
}

// State of the framework that the product kept a copy of would be counted, or set, apart from the
// framework's.
TEST(Symbols, NoStateOfTheFrameworkIsCopied) {
  Symbols const product = symbolsOf(PRODUCT_FILE);
  ASSERT_TRUE(product.inside.empty() ||
              product.inside.contains("LoamInLif::InLif1SwTable::memAllocationTracker_"));
  for (std::string const& name : product.inside) {
    if (name.starts_with("LoamInLif::")) continue;
    EXPECT_FALSE(name.ends_with("::memAllocationTracker_") || name.ends_with("::tsp_")) << name;
  }
}

TEST(Symbols, NoSymbolStandsInBothLibraries) {
  Symbols const product = symbolsOf(PRODUCT_FILE);
  Symbols const framework = symbolsOf(FRAMEWORK_FILE);
  for (std::string const& name : product.shown) EXPECT_FALSE(framework.shown.contains(name)) << name;
}

}  // namespace
