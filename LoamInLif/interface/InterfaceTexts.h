// The texts of the interface that carry the name of their instance. They are literals, so that a format is
// checked against its arguments when it is compiled.
#pragma once

#include "LoamInLif/Instance.h"
#include "LoamInLif/Names.h"

namespace LoamInLif {

template <class I>
struct InterfaceTexts;

#define LOAM_INLIF_INTERFACE_TEXTS(Instance, instance)                                                   \
  template <>                                                                                            \
  struct InterfaceTexts<Instance> {                                                                      \
    static constexpr char const* notRegistered =                                                         \
        "!singleton->swTableIntfHas( \"LoamInLif::" #Instance "Interface\" )";                           \
    static constexpr char const* restored = " Restored {} entries for table: " #Instance ", unitId: {}"; \
    static constexpr char const* clearing = " Clearing entries for table: " #Instance ", unitId: {}";    \
  };
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_INTERFACE_TEXTS)
#undef LOAM_INLIF_INTERFACE_TEXTS

}  // namespace LoamInLif
