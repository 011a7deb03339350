// The registry of type modules. It is made at the first announcement, whichever static initialiser that is,
// and never destroyed.
#include "Pivot/Types.h"

#include <algorithm>
#include <mutex>

namespace Pivot {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<ModuleInspectData const*> modules;
};

Registry& registry() {
  static auto* const theRegistry = new Registry;
  return *theRegistry;
}

}  // namespace

void ModuleInspectData::loaded(ModuleInspectData const* module) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  if (std::find(known.modules.begin(), known.modules.end(), module) == known.modules.end()) {
    known.modules.push_back(module);
  }
}

std::vector<ModuleInspectData const*> ModuleInspectData::all() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  return known.modules;
}

ModuleInspectData const* ModuleInspectData::find(std::string_view name) {
  for (ModuleInspectData const* module : all()) {
    if (module->name == name) return module;
  }
  return nullptr;
}

}  // namespace Pivot
