// The ten kinds of resource linkage, as traits, in the one order in which every walk over the linkages runs.
// A kind says which field of an entry holds its resource key, which field of a wrapper holds its handle,
// which field of the log entry takes the value, and which resource table gives it. All else about linkages is
// written once, over these traits.
//
// A further kind is a line in each list of Names.h, its traits here, its place in `Kinds` (Instance.h), its handle in
// linkage/ResourceHandles.h, and the two fields of its key and its value in the entry, with all that
// LoamTunnelNiLib tells of a field there: InLifModelResourceKeys and InLifModelLogEntry.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/linkage/ResourceHandles.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "LoamTunnelNiLib/InLifModelResourceKeys.h"
#include "Pivot/Types.h"

namespace LoamInLif {

// What follows from the resource table and key type of a kind. The null key, which says that an entry does
// not use the resource, is the default value of the key type in each of them.
template <class Table, class KeyType>
struct ResourceOf {
  using ResourceTable = Table;
  using ResourceHandle = typename Table::ResourceHandle;
  using ClientInstance = typename Table::ClientInstance;
  using Key = KeyType;
  using Keys = LoamTunnelNiLib::InLifModelResourceKeys;
  using LogEntry = LoamTunnelNiLib::InLifModelLogEntry;

  static Key const& nullKey() {
    static Key const key{};
    return key;
  }
  static bool isNullKey(Key const& key) { return key.isEq(nullKey()); }
};

// A list of kinds. `f` is called as f.template operator()<Kind>(), so it can be a lambda []<class Kind>() {
// ... }.
template <class... K>
struct KindList {
  static constexpr std::size_t size = sizeof...(K);

  // The place of a kind in linkage order, from 0; `size` for a type that is none of them.
  template <class Kind>
  static constexpr std::size_t indexOf() {
    std::size_t index = 0;
    static_cast<void>(((std::is_same_v<Kind, K> || (++index, false)) || ...));
    return index;
  }

  // Calls `f` for each kind in linkage order.
  template <class F>
  static constexpr void forEach(F&& f) {
    (f.template operator()<K>(), ...);
  }

  // Calls `f` for each kind in linkage order until one answers true, and tells whether one did.
  template <class F>
  static constexpr bool any(F&& f) {
    return (f.template operator()<K>() || ...);
  }

  static constexpr std::array<char const*, sizeof...(K)> names{K::name...};
};

// What follows from the list of names, for the kinds to inherit: the name of a kind, the id of the table's attribute,
// and its fields in an entry and its wrapper.
template <class Kind>
struct NamedKind;
#define LOAM_INLIF_NAMED_KIND(Name, keyFieldName, handleFieldName, resolvedFieldName)                     \
  template <>                                                                                             \
  struct NamedKind<Name##Kind> {                                                                          \
    static constexpr char const* name = #Name;                                                            \
    static constexpr auto tableFieldId = static_cast<Pivot::FieldId>(918 + Kinds::indexOf<Name##Kind>()); \
    static constexpr auto keyField = &LoamTunnelNiLib::InLifModelResourceKeys::keyFieldName;              \
    static constexpr auto handleField = &ResourceHandles::handleFieldName;                                \
    static constexpr auto resolvedField = &LoamTunnelNiLib::InLifModelLogEntry::resolvedFieldName;        \
  };
LOAM_INLIF_EACH_KIND(LOAM_INLIF_NAMED_KIND)
#undef LOAM_INLIF_NAMED_KIND

// Kinds 1 and 2 share one resource table.
struct InLifDataResource
    : ResourceOf<LoamTunnelNiLib::InLifDataResourceTable, LoamTunnelNiLib::InLifDataEntryKey> {
  static constexpr char const* resourceNamespace = "LoamTunnelNiLib";
  static constexpr char const* resourceTableName = "InLifData.clientLoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamTunnelNiLib::InLifData.clientLoamInLif started or restored with {} entries";
  static constexpr std::uint64_t defaultValue = 0;
};

// Kinds 3, 4 and 5 are three tables of one class.
struct CrpsIndexRequestResource
    : ResourceOf<LoamCountersLib::CrpsIndexRequestResourceTable, LoamCountersLib::CrpsIndexRequestEntryKey> {
  static constexpr char const* resourceNamespace = "LoamCountersLib";
  static constexpr std::uint32_t defaultValue = 0xFFFFFFFF;
};

// Kinds 6 and 7 share one resource table.
struct LearnEnableResource
    : ResourceOf<LoamTunnelNiLib::LearnEnableResourceTable, LoamTunnelNiLib::LearnEnableEntryKey> {
  static constexpr char const* resourceNamespace = "LoamTunnelNiLib";
  static constexpr char const* resourceTableName = "LearnEnable.clientLoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamTunnelNiLib::LearnEnable.clientLoamInLif started or restored with {} entries";
  static constexpr std::uint8_t defaultValue = 1;
};

struct LOAM_INLIF_EXPORT InLifDataKind : InLifDataResource, NamedKind<InLifDataKind> {
  static constexpr char const* tableAttribute = "inLifDataLinkage";
};

struct LOAM_INLIF_EXPORT InLifDataVlanKind : InLifDataResource, NamedKind<InLifDataVlanKind> {
  static constexpr char const* tableAttribute = "inLifDataVlanLinkage";
};

struct LOAM_INLIF_EXPORT Srv6EndpointCrpsIndexRequestKind : CrpsIndexRequestResource,
                                                            NamedKind<Srv6EndpointCrpsIndexRequestKind> {
  static constexpr char const* tableAttribute = "srv6EndpointCrpsIndexRequestLinkage";
  static constexpr char const* resourceTableName = "CrpsIndexRequest.Srv6Endpoint";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.Srv6Endpoint started or restored with {} entries";
};

struct LOAM_INLIF_EXPORT L2CrpsIndexRequestKind : CrpsIndexRequestResource,
                                                  NamedKind<L2CrpsIndexRequestKind> {
  static constexpr char const* tableAttribute = "l2CrpsIndexRequestLinkage";
  static constexpr char const* resourceTableName = "CrpsIndexRequest.L2SubInterfaceIngress";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.L2SubInterfaceIngress started or restored with {} "
      "entries";
};

struct LOAM_INLIF_EXPORT L3CrpsIndexRequestKind : CrpsIndexRequestResource,
                                                  NamedKind<L3CrpsIndexRequestKind> {
  static constexpr char const* tableAttribute = "l3CrpsIndexRequestLinkage";
  static constexpr char const* resourceTableName = "CrpsIndexRequest.SubInterfaceIngress";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.SubInterfaceIngress started or restored with {} "
      "entries";
};

struct LOAM_INLIF_EXPORT LearnEnableKind : LearnEnableResource, NamedKind<LearnEnableKind> {
  static constexpr char const* tableAttribute = "learnEnableLinkage";
};

struct LOAM_INLIF_EXPORT LearnEnableVlanKind : LearnEnableResource, NamedKind<LearnEnableVlanKind> {
  static constexpr char const* tableAttribute = "learnEnableVlanLinkage";
};

struct LOAM_INLIF_EXPORT VlanEditProfileKind
    : ResourceOf<LoamTunnelNiLib::IveResourceTableResourceTable, LoamTunnelNiLib::IveResourceTableEntryKey>,
      NamedKind<VlanEditProfileKind> {
  static constexpr char const* tableAttribute = "vlanEditProfileLinkage";
  static constexpr char const* resourceNamespace = "LoamTunnelNiLib";
  static constexpr char const* resourceTableName = "IveResourceTable.featureLoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamTunnelNiLib::IveResourceTable.featureLoamInLif started or restored with {} "
      "entries";
  static constexpr std::uint8_t defaultValue = 0;
  // The key tells by itself whether it is the default; it stops at the first of its 34 slots that is not.
  static bool isNullKey(Key const& key) { return !key; }
};

struct LOAM_INLIF_EXPORT QosProfileKind
    : ResourceOf<LoamQos::QosProfileResourceTable, LoamQos::QosProfileEntryKey>,
      NamedKind<QosProfileKind> {
  static constexpr char const* tableAttribute = "qosProfileLinkage";
  static constexpr char const* resourceNamespace = "LoamQos";
  static constexpr char const* resourceTableName = "QosProfile.LoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamQos::QosProfile.LoamInLif started or restored with {} entries";
  static constexpr std::uint8_t defaultValue = 0;
};

struct LOAM_INLIF_EXPORT L2AdjToFecKind : ResourceOf<LoamAdjLib::L2AdjToFecResourceTableResourceTable,
                                                     LoamAdjLib::L2AdjToFecResourceTableEntryKey>,
                                          NamedKind<L2AdjToFecKind> {
  static constexpr char const* tableAttribute = "l2AdjToFecLinkage";
  static constexpr char const* resourceNamespace = "LoamAdjLib";
  static constexpr char const* resourceTableName = "L2AdjToFecResourceTable.LoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamAdjLib::L2AdjToFecResourceTable.LoamInLif started or restored with {} entries";
  static constexpr std::uint32_t defaultValue = 0;
};

// The one way to walk over the linkages: forEachKind([&]<class Kind>() { ... });
template <class F>
constexpr void forEachKind(F&& f) {
  Kinds::forEach(f);
}

// The bit of a kind in a set of kinds, the first one's being the lowest, and the kinds of which an entry has a key.
template <class Kind>
inline constexpr std::uint32_t kindBit = std::uint32_t{1} << Kinds::indexOf<Kind>();
inline std::uint32_t kindsUsedBy(LoamTunnelNiLib::InLifModelResourceKeys const& keys) {
  std::uint32_t used = 0;
  forEachKind([&]<class Kind>() { used |= Kind::isNullKey(keys.*Kind::keyField) ? 0 : kindBit<Kind>; });
  return used;
}

namespace KindChecks {
// The list of names, which stamps classes, and the list of traits must agree line by line.
#define LOAM_INLIF_KIND_NAME(Name, keyField, handleField, resolvedField) #Name,
inline constexpr std::string_view namesInOrder[] = {LOAM_INLIF_EACH_KIND(LOAM_INLIF_KIND_NAME)};
#undef LOAM_INLIF_KIND_NAME

constexpr bool ordered() {
  for (std::size_t i = 0; i < Kinds::size; ++i) {
    if (namesInOrder[i] != Kinds::names[i]) return false;
    for (std::size_t j = 0; j < i; ++j) {
      if (namesInOrder[i] == namesInOrder[j]) return false;
    }
  }
  return true;
}
static_assert(Kinds::size == 10 && std::size(namesInOrder) == Kinds::size, "ten kinds of linkage");
static_assert(ordered(), "names are unique, and both lists are in linkage order");
}  // namespace KindChecks

// A kind fits together: the key field has its key type, the handle field its handle, and the value its
// width.
template <class Kind>
concept LinkageKind =
    std::is_same_v<std::remove_cvref_t<decltype(Kind::handleField)>,
                   Pivot::Ptr<typename Kind::ResourceHandle const> ResourceHandles::*>&&
        std::is_same_v<std::remove_cvref_t<decltype(Kind::keyField)>, typename Kind::Key Kind::Keys::*> &&
    sizeof(std::declval<typename Kind::LogEntry&>().*Kind::resolvedField) == sizeof(Kind::defaultValue);
static_assert(!Kinds::any([]<class Kind>() { return !LinkageKind<Kind>; }));

}  // namespace LoamInLif
