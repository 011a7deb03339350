// The modules, each announced by a static initialiser of its own when the library is loaded, in an order that
// does not matter.
#include "types/Modules.h"

#include <iostream>  // starts the standard streams before anything of the library can write to them
#include <iterator>

#include "types/TypeNames.h"

// An initialiser of its own kind per module. They are constant data but for the call.
#define LOAM_INLIF_DEFINE_MODULE(Instance, Unit, hash)                                                    \
  Pivot::ModuleInspectData const _##Instance##Unit##_##hash##_vexModule = {                               \
      "_" #Instance #Unit "_" #hash "_vexModule", 1, std::size(LoamInLif::TypeNames::Instance##Unit),     \
      LoamInLif::TypeNames::Instance##Unit};                                                              \
  namespace {                                                                                             \
  struct Instance##Unit##Announced {                                                                      \
    Instance##Unit##Announced() { Pivot::ModuleInspectData::loaded(LoamInLif::Modules::Instance##Unit); } \
  } const announce##Instance##Unit;                                                                       \
  }
LOAM_INLIF_EACH_MODULE(LOAM_INLIF_DEFINE_MODULE)
#undef LOAM_INLIF_DEFINE_MODULE
