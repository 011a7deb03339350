// The ten kinds of resource linkage, as traits, in the one order in which every walk over the linkages runs.
// A kind says which field of an entry holds its resource key, which field of a wrapper holds its handle,
// which field of the log entry takes the value, and which resource table gives it. All else about linkages is
// written once, over these traits.
//
// A further kind is a line in each list of Names.h, its traits here, its place in `Kinds` (Instance.h), its handle in
// linkage/ResourceHandles.h, and its rows in the type records, whose ids follow each other.
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

struct LOAM_INLIF_EXPORT InLifDataKind : InLifDataResource {
  static constexpr char const* name = "InLifData";
  static constexpr char const* tableAttribute = "inLifDataLinkage";
  static constexpr Pivot::FieldId tableFieldId = 918;
  static constexpr auto keyField = &Keys::inLifDataKey;
  static constexpr auto handleField = &ResourceHandles::inLifDataKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::inLifData;
};

struct LOAM_INLIF_EXPORT InLifDataVlanKind : InLifDataResource {
  static constexpr char const* name = "InLifDataVlan";
  static constexpr char const* tableAttribute = "inLifDataVlanLinkage";
  static constexpr Pivot::FieldId tableFieldId = 919;
  static constexpr auto keyField = &Keys::inLifDataVlanKey;
  static constexpr auto handleField = &ResourceHandles::inLifDataVlanKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::inLifDataVlan;
};

struct LOAM_INLIF_EXPORT Srv6EndpointCrpsIndexRequestKind : CrpsIndexRequestResource {
  static constexpr char const* name = "Srv6EndpointCrpsIndexRequest";
  static constexpr char const* tableAttribute = "srv6EndpointCrpsIndexRequestLinkage";
  static constexpr Pivot::FieldId tableFieldId = 920;
  static constexpr char const* resourceTableName = "CrpsIndexRequest.Srv6Endpoint";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.Srv6Endpoint started or restored with {} entries";
  static constexpr auto keyField = &Keys::srv6EndpointCounterRequestKey;
  static constexpr auto handleField = &ResourceHandles::srv6EndpointCounterRequestKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::srv6EndpointCounterIndex;
};

struct LOAM_INLIF_EXPORT L2CrpsIndexRequestKind : CrpsIndexRequestResource {
  static constexpr char const* name = "L2CrpsIndexRequest";
  static constexpr char const* tableAttribute = "l2CrpsIndexRequestLinkage";
  static constexpr Pivot::FieldId tableFieldId = 921;
  static constexpr char const* resourceTableName = "CrpsIndexRequest.L2SubInterfaceIngress";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.L2SubInterfaceIngress started or restored with {} "
      "entries";
  static constexpr auto keyField = &Keys::l2CounterRequestKey;
  static constexpr auto handleField = &ResourceHandles::l2CounterRequestKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::l2CrpsIndex;
};

struct LOAM_INLIF_EXPORT L3CrpsIndexRequestKind : CrpsIndexRequestResource {
  static constexpr char const* name = "L3CrpsIndexRequest";
  static constexpr char const* tableAttribute = "l3CrpsIndexRequestLinkage";
  static constexpr Pivot::FieldId tableFieldId = 922;
  static constexpr char const* resourceTableName = "CrpsIndexRequest.SubInterfaceIngress";
  static constexpr char const* startMessage =
      " ResourceTable: LoamCountersLib::CrpsIndexRequest.SubInterfaceIngress started or restored with {} "
      "entries";
  static constexpr auto keyField = &Keys::l3CounterRequestKey;
  static constexpr auto handleField = &ResourceHandles::l3CounterRequestKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::l3CrpsIndex;
};

struct LOAM_INLIF_EXPORT LearnEnableKind : LearnEnableResource {
  static constexpr char const* name = "LearnEnable";
  static constexpr char const* tableAttribute = "learnEnableLinkage";
  static constexpr Pivot::FieldId tableFieldId = 923;
  static constexpr auto keyField = &Keys::learnEnableKey;
  static constexpr auto handleField = &ResourceHandles::learnEnableKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::learnEnable;
};

struct LOAM_INLIF_EXPORT LearnEnableVlanKind : LearnEnableResource {
  static constexpr char const* name = "LearnEnableVlan";
  static constexpr char const* tableAttribute = "learnEnableVlanLinkage";
  static constexpr Pivot::FieldId tableFieldId = 924;
  static constexpr auto keyField = &Keys::learnEnableVlanKey;
  static constexpr auto handleField = &ResourceHandles::learnEnableVlanKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::learnEnableVlan;
};

struct LOAM_INLIF_EXPORT VlanEditProfileKind
    : ResourceOf<LoamTunnelNiLib::IveResourceTableResourceTable, LoamTunnelNiLib::IveResourceTableEntryKey> {
  static constexpr char const* name = "VlanEditProfile";
  static constexpr char const* tableAttribute = "vlanEditProfileLinkage";
  static constexpr Pivot::FieldId tableFieldId = 925;
  static constexpr char const* resourceNamespace = "LoamTunnelNiLib";
  static constexpr char const* resourceTableName = "IveResourceTable.featureLoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamTunnelNiLib::IveResourceTable.featureLoamInLif started or restored with {} "
      "entries";
  static constexpr std::uint8_t defaultValue = 0;
  static constexpr auto keyField = &Keys::vlanEditProfileKey;
  static constexpr auto handleField = &ResourceHandles::vlanEditProfileKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::vlanEditProfile;
  // The key tells by itself whether it is the default; it stops at the first of its 34 slots that is not.
  static bool isNullKey(Key const& key) { return !key; }
};

struct LOAM_INLIF_EXPORT QosProfileKind
    : ResourceOf<LoamQos::QosProfileResourceTable, LoamQos::QosProfileEntryKey> {
  static constexpr char const* name = "QosProfile";
  static constexpr char const* tableAttribute = "qosProfileLinkage";
  static constexpr Pivot::FieldId tableFieldId = 926;
  static constexpr char const* resourceNamespace = "LoamQos";
  static constexpr char const* resourceTableName = "QosProfile.LoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamQos::QosProfile.LoamInLif started or restored with {} entries";
  static constexpr std::uint8_t defaultValue = 0;
  static constexpr auto keyField = &Keys::qosProfileKey;
  static constexpr auto handleField = &ResourceHandles::qosProfileKeyResPtr;
  static constexpr auto resolvedField = &LogEntry::qosProfile;
};

struct LOAM_INLIF_EXPORT L2AdjToFecKind : ResourceOf<LoamAdjLib::L2AdjToFecResourceTableResourceTable,
                                                     LoamAdjLib::L2AdjToFecResourceTableEntryKey> {
  static constexpr char const* name = "L2AdjToFec";
  static constexpr char const* tableAttribute = "l2AdjToFecLinkage";
  static constexpr Pivot::FieldId tableFieldId = 927;
  static constexpr char const* resourceNamespace = "LoamAdjLib";
  static constexpr char const* resourceTableName = "L2AdjToFecResourceTable.LoamInLif";
  static constexpr char const* startMessage =
      " ResourceTable: LoamAdjLib::L2AdjToFecResourceTable.LoamInLif started or restored with {} entries";
  static constexpr std::uint32_t defaultValue = 0;
  static constexpr auto keyField = &Keys::l2AdjId;
  static constexpr auto handleField = &ResourceHandles::l2AdjIdResPtr;
  static constexpr auto resolvedField = &LogEntry::fecId;
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
  static constexpr std::array<Pivot::FieldId, sizeof...(K)> tableFieldIds{K::tableFieldId...};
};

// The one way to walk over the linkages: forEachKind([&]<class Kind>() { ... });
template <class F>
constexpr void forEachKind(F&& f) {
  Kinds::forEach(f);
}

namespace KindChecks {
// The list of names, which stamps classes, and the list of traits must agree line by line.
#define LOAM_INLIF_KIND_NAME(Name, keyField, handleField, resolvedField) #Name,
inline constexpr std::string_view namesInOrder[] = {LOAM_INLIF_EACH_KIND(LOAM_INLIF_KIND_NAME)};
#undef LOAM_INLIF_KIND_NAME

constexpr bool ordered() {
  for (std::size_t i = 0; i < Kinds::size; ++i) {
    if (namesInOrder[i] != Kinds::names[i] || Kinds::tableFieldIds[i] != Kinds::tableFieldIds[0] + i) {
      return false;
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (namesInOrder[i] == namesInOrder[j]) {
        return false;
      }
    }
  }
  return true;
}
static_assert(Kinds::size == 10 && std::size(namesInOrder) == Kinds::size, "ten kinds of linkage");
static_assert(ordered(), "names are unique, and the field ids of the linkages run on in linkage order");
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
