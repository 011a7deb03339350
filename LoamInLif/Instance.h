// The three instances of the one table design, as traits: InLif0, InLif1 and InLif23. Every template of the
// family takes such a struct as its `I` and finds there the constants of the instance and the names of its
// classes. This header only declares those classes, so a file that needs no more than names includes nothing
// else of the family.
//
// A further instance is a line in Names.h, a traits struct at the end of this file, the names of its modules in
// types/Modules.h, and a source here and in types that stamps its classes (InLif0.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Asic/SwTableId.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Names.h"

namespace LoamInLif {

// The kinds of linkage; Kinds.h tells what they are.
#define LOAM_INLIF_DECLARE_KIND(Name, keyField, handleField, resolvedField) \
  struct LOAM_INLIF_EXPORT Name##Kind;
LOAM_INLIF_EACH_KIND(LOAM_INLIF_DECLARE_KIND)
#undef LOAM_INLIF_DECLARE_KIND

// The kinds in linkage order. What can be done with the list stands in Kinds.h.
template <class... K>
struct KindList;
using Kinds = KindList<InLifDataKind, InLifDataVlanKind, Srv6EndpointCrpsIndexRequestKind,
                       L2CrpsIndexRequestKind, L3CrpsIndexRequestKind, LearnEnableKind, LearnEnableVlanKind,
                       VlanEditProfileKind, QosProfileKind, L2AdjToFecKind>;

// The linkage class of a kind in an instance, as member `Type`, and its name without namespace, as member
// `name`.
template <class I, class Kind>
struct LinkageName;

// The type record of a class, for inspection. A class that tells where its attributes lie befriends its own.
template <class Class>
struct RecordOf;

// A 32-bit constant of its own for each keyed collection: `owner` (a table or linkage) and `collection`
// mixed byte by byte.
constexpr std::uint32_t collectionSeed(std::string_view owner, std::string_view collection) {
  std::uint32_t seed = 0x811C9DC5u;
  for (std::string_view part : {owner, collection}) {
    for (char c : part) {
      seed = (seed ^ static_cast<unsigned char>(c)) * 0x01000193u;
    }
    seed = (seed ^ 0xFFu) * 0x01000193u;  // keeps "ab"+"c" and "a"+"bc" apart
  }
  return seed;
}

// What the instances share.
struct FamilyConstants {
  static constexpr char const* groupName = "LoamInLifGroup";
  static constexpr char const* agentName = "LoamTunnelNi";
  static constexpr char const* tableNamespace = "LoamInLif";
  static constexpr std::uint16_t agentAndGroupId = 0x1408;
  // Most records in the change log of a table, and in the configuration of one of its units.
  static constexpr std::size_t maxLogRecords = 1000000;
  static constexpr std::size_t maxConfigRecords = 65536;
};

// The hash seeds of an instance's own collections; `Names` gives the table name. Linkages: see LinkageSeeds.
template <class Names>
struct CollectionSeeds {
  static constexpr std::uint32_t tableEntries = collectionSeed(Names::tableName, "tableEntries");
  static constexpr std::uint32_t transientAddEntry = collectionSeed(Names::tableName, "transientAddEntry");
  static constexpr std::uint32_t transientRemoveEntry =
      collectionSeed(Names::tableName, "transientRemoveEntry");
  static constexpr std::uint32_t transientVersionForKey =
      collectionSeed(Names::tableName, "transientVersionForKey");
  static constexpr std::uint32_t markedKey = collectionSeed(Names::tableName, "markedKey");
  static constexpr std::uint32_t tableConfigShoal = collectionSeed(Names::tableName, "tableConfigShoal");
};

// The hash seeds of the two collections of one linkage class.
template <class I, class Kind>
struct LinkageSeeds {
  static constexpr std::uint32_t entryUsageSm = collectionSeed(LinkageName<I, Kind>::name, "entryUsageSm");
  static constexpr std::uint32_t entryUsage = collectionSeed(LinkageName<I, Kind>::name, "entryUsage");
};

// The classes of each instance, and its names: <Instance>Names holds what follows from the instance's name
// alone. The facilities are those under which the source units trace.
#define LOAM_INLIF_DECLARE_INSTANCE(Instance, instance)                              \
  struct LOAM_INLIF_EXPORT Instance;                                                 \
  class LOAM_INLIF_EXPORT Instance##Constants;                                       \
  class LOAM_INLIF_EXPORT Instance##Interface;                                       \
  class LOAM_INLIF_EXPORT Instance##SwTable;                                         \
  class LOAM_INLIF_EXPORT Instance##SwTableIteratorState;                            \
  class LOAM_INLIF_EXPORT Instance##EntryLog;                                        \
  class LOAM_INLIF_EXPORT Instance##EntryWrapper;                                    \
  class LOAM_INLIF_EXPORT Instance##ResolverEntry;                                   \
  class LOAM_INLIF_EXPORT Instance##SwTableHelperBase;                               \
  struct Instance##Names {                                                           \
    using Constants = Instance##Constants;                                           \
    using Interface = Instance##Interface;                                           \
    using SwTable = Instance##SwTable;                                               \
    using SwTableIteratorState = Instance##SwTableIteratorState;                     \
    using EntryLog = Instance##EntryLog;                                             \
    using EntryWrapper = Instance##EntryWrapper;                                     \
    using ResolverEntry = Instance##ResolverEntry;                                   \
    using SwTableHelperBase = Instance##SwTableHelperBase;                           \
    static constexpr char const* tableName = #Instance;                              \
    static constexpr char const* interfaceKey = "LoamInLif::" #Instance "Interface"; \
    static constexpr char const* interfaceFacility = #Instance "Interface";          \
    static constexpr char const* swTableFacility = #Instance "SwTable";              \
    static constexpr char const* entryLogFacility = #Instance "EntryLog";            \
  };
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_INSTANCE)
#undef LOAM_INLIF_DECLARE_INSTANCE

// The linkage classes of each instance.
#define LOAM_INLIF_DECLARE_LINKAGE(Instance, instance, Name, name_) \
  class LOAM_INLIF_EXPORT Instance##Name##Linkage;                  \
  template <>                                                       \
  struct LinkageName<Instance, Name##Kind> {                        \
    using Type = Instance##Name##Linkage;                           \
    static constexpr char const* name = #Instance #Name "Linkage";  \
  };
#define LOAM_INLIF_DECLARE_LINKAGES(Instance, instance) \
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_DECLARE_LINKAGE, Instance, instance)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_LINKAGES)
#undef LOAM_INLIF_DECLARE_LINKAGES
#undef LOAM_INLIF_DECLARE_LINKAGE

// What the traits of every instance have, from its names and its table id.
template <class I, class Names>
struct InstanceOf : FamilyConstants, Names {
  using Seeds = CollectionSeeds<Names>;
  template <class Kind>
  using Linkage = typename LinkageName<I, Kind>::Type;
};

struct LOAM_INLIF_EXPORT InLif0 : InstanceOf<InLif0, InLif0Names> {
  static constexpr Asic::SwTableId tableId{0x14080401};
};
struct LOAM_INLIF_EXPORT InLif1 : InstanceOf<InLif1, InLif1Names> {
  static constexpr Asic::SwTableId tableId{0x14080402};
};
struct LOAM_INLIF_EXPORT InLif23 : InstanceOf<InLif23, InLif23Names> {
  static constexpr Asic::SwTableId tableId{0x14080403};
};

}  // namespace LoamInLif
