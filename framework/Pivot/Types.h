// Names that every room shares: field ids, the string, and the head of a type module.
//
// A module describes the types of one source unit. It is constant data, announced once when its library is
// loaded, and never withdrawn: a library with modules stays loaded until the process ends.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Cobble/Export.h"

namespace Pivot {

// Number of an attribute or operation within its class; what a change notification carries.
using FieldId = std::uint32_t;
using String = std::string;

// Head of a type module. A module with more tables derives from it.
struct LOAM_FRAMEWORK_EXPORT ModuleInspectData {
  char const* name;
  std::uint32_t version;
  std::uint32_t typeCount;
  // typeCount full class names, in the order of the type indices.
  char const* const* typeNames;

  // Announces a module. Called by static initialisers in any order; announcing one twice changes nothing.
  static void loaded(ModuleInspectData const* module);
  // All announced modules, in the order of their announcement.
  static std::vector<ModuleInspectData const*> all();
  // The announced module of that name, or null.
  static ModuleInspectData const* find(std::string_view name);
};

// Which record describes an object: a module and an index below its typeCount.
struct TypeData {
  ModuleInspectData const* module;
  std::uint32_t index;

  char const* name() const { return module->typeNames[index]; }
};

}  // namespace Pivot
