#pragma once
// The class names of each module, in the order of the type indices.
#include <cstdint>

#include "LoamInLif/Names.h"

namespace LoamInLif::TypeNames {

// Indices within the modules that hold more than one type. A linkage has two: twice its place in linkage
// order for its LocalUsageUpdateSm, and the next for itself.
enum InfraTypesIndex : std::uint32_t { entryWrapperIndex, resolverEntryIndex };
enum SwTableIndex : std::uint32_t { entryHandleIndex, swTableEntriesIndex, swTableIndex, iteratorStateIndex };

#define LOAM_INLIF_LINKAGE_NAMES(Instance, instance, Kind, kind) \
  "LoamInLif::" #Instance #Kind "Linkage::LocalUsageUpdateSm", "LoamInLif::" #Instance #Kind "Linkage",

#define LOAM_INLIF_TYPE_NAMES(Instance, instance)                                                           \
  inline constexpr char const* Instance##EntryLog[] = {"LoamInLif::" #Instance "EntryLog"};                 \
  inline constexpr char const* Instance##Interface[] = {"LoamInLif::" #Instance "Interface"};               \
  inline constexpr char const* Instance##SwTableHelperBase[] = {"LoamInLif::" #Instance                     \
                                                                "SwTableHelperBase"};                       \
  inline constexpr char const* Instance##InfraTypes[] = {"LoamInLif::" #Instance "EntryWrapper",            \
                                                         "LoamInLif::" #Instance "ResolverEntry"};          \
  inline constexpr char const* Instance##SwTable[] = {                                                      \
      "LoamInLif::" #Instance "SwTable::EntryHandle", "LoamInLif::" #Instance "SwTable::SwTableEntries_py", \
      "LoamInLif::" #Instance "SwTable", "LoamInLif::" #Instance "SwTableIteratorState"};                   \
  inline constexpr char const* Instance##ResourceTableLinkage[] = {                                         \
      LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_LINKAGE_NAMES, Instance, instance)};
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_TYPE_NAMES)
#undef LOAM_INLIF_TYPE_NAMES
#undef LOAM_INLIF_LINKAGE_NAMES

}  // namespace LoamInLif::TypeNames
