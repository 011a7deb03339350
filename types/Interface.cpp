// The record of the table interfaces and their modules. There is no constructor to call: getIntf makes them.
#include "types/FamilyRecords.h"

namespace LoamInLif {

#define LOAM_INLIF_INTERFACE(Instance, instance) LOAM_INLIF_TYPE_DATA(Instance##Interface)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_INTERFACE)

template <class I>
struct RecordOf<InterfaceOf<I>> : Record<typename I::Interface, Asic::TableInterfaceBase> {
  using T = InterfaceOf<I>;
  static constexpr std::array attributes{
      stored<&T::tableName, &T::tableNameIs>(258, "tableName", offsetof(T, tableName_)),
      computed<&T::tableId>(259, "tableId"),
      stored<&T::groupName, &T::groupNameIs>(260, "groupName", offsetof(T, groupName_)),
      stored<&T::agentName, &T::agentNameIs>(261, "agentName", offsetof(T, agentName_)),
      stored<&T::tableNamespace, &T::tableNamespaceIs>(262, "tableNamespace", offsetof(T, tableNamespace_)),
      made<&T::entryLog, &T::entryLogIs, "tableId", "entityManager", "groupInterface", "agentName">(
          263, "entryLog", offsetof(T, entryLog_)),
      made<&T::swTableStatus, &T::swTableStatusIs, "tableId">(264, "swTableStatus",
                                                              offsetof(T, swTableStatus_)),
      made<&T::swTableSet, &T::swTableSetIs, "tableId", "swTableStatus">(265, "swTableSet",
                                                                         offsetof(T, swTableSet_)),
      operation<&T::makeSwTable, "unitId", "swTableHelper", "reset">(266, "makeSwTable"),
      operation<&T::getIntf, "ordTblIntf">(267, "getIntf"),
      operation<&T::handleInitialized>(268, "handleInitialized"),
      operation<&T::onDelete>(269, "onDelete")};
  static_assert(attributes.size() == 12, "ids 258 to 269 without a gap");
};

}  // namespace LoamInLif

#define LOAM_INLIF_DEFINE_MODULE(Instance, Unit, hash)        \
  PIVOT_DEFINE_MODULE(_##Instance##Unit##_##hash##_vexModule, \
                      LoamInLif::RecordOf<LoamInLif::InterfaceOf<LoamInLif::Instance>>)
LOAM_INLIF_INTERFACE_MODULES(LOAM_INLIF_DEFINE_MODULE)
