// The record of the table interface of an instance. There is no constructor to call: getIntf makes it.
#pragma once

#include "types/FamilyRecords.h"

namespace LoamInLif {

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

template <class I>
using InterfaceTables = Pivot::ModuleTables<RecordOf<InterfaceOf<I>>>;

}  // namespace LoamInLif
