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
  std::set<std::string> strong;
  std::set<std::string> all;
};

std::string demangled(char const* name) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> const text(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                    &std::free);
  return status == 0 ? std::string(text.get()) : std::string(name);
}

/// The defined symbols of a library's dynamic table, demangled.
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
    if (section.sh_type != SHT_DYNSYM) continue;
    char const* const names = bytes.data() + sections[section.sh_link].sh_offset;
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol{};
      read(symbol, section.sh_offset + at);
      if (symbol.st_shndx == SHN_UNDEF) continue;
      std::string const name = demangled(names + symbol.st_name);
      symbols.all.insert(name);
      if (ELF64_ST_BIND(symbol.st_info) == STB_GLOBAL) symbols.strong.insert(name);
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
  ASSERT_GT(product.all.size(), 100u);
  std::size_t modules = 0;
  for (std::string const& name : product.all) {
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
    EXPECT_TRUE(product.all.contains(needed)) << needed;
  }
}

TEST(Symbols, NoStrongSymbolStandsInBothLibraries) {
  Symbols const product = symbolsOf(PRODUCT_FILE);
  Symbols const framework = symbolsOf(FRAMEWORK_FILE);
  for (std::string const& name : product.all) EXPECT_FALSE(framework.all.contains(name)) << name;
}

}  // namespace
