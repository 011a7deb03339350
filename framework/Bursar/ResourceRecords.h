// The names and records of resource tables, for inspection: of the common bases, and for each of the five
// table classes of its handle, its client instance and the table itself, in a module of their own.
//
//   BURSAR_NAME_TABLE(LoamQos::QosProfileResourceTable, _QosProfileResourceTable_..._vexModule)     header
//   BURSAR_DEFINE_TABLE_MODULE(LoamQos::QosProfileResourceTable, ...the same symbol)                 source
#pragma once

#include "Asic/Records.h"
#include "Bursar/ResourceHandle.h"
#include "Bursar/ResourceTable.h"
#include "Pivot/FieldRows.h"
#include "Pivot/HideMe.h"

PIVOT_DECLARE_MODULE(_ResourceTable_8c15d3f7a20e6b94_vexModule)
PIVOT_NAME_TYPE(BursarResourceTable::ResourceHandle, &_ResourceTable_8c15d3f7a20e6b94_vexModule, 0)
PIVOT_NAME_TYPE(BursarResourceTable::ResourceTable, &_ResourceTable_8c15d3f7a20e6b94_vexModule, 1)

#define BURSAR_NAME_TABLE(Table, symbol)             \
  PIVOT_DECLARE_MODULE(symbol)                       \
  PIVOT_NAME_TYPE(Table::ResourceHandle, &symbol, 0) \
  PIVOT_NAME_TYPE(Table::ClientInstance, &symbol, 1) \
  PIVOT_NAME_TYPE(Table, &symbol, 2)

namespace BursarResourceTable {

template <class Table>
struct HandleRecord : Pivot::Inspect::Record<typename Table::ResourceHandle, ResourceHandle> {
  using Handle = typename Table::ResourceHandle;
  static constexpr std::array attributes{Pivot::Inspect::stored<&Handle::key>(642, "key"),
                                         Pivot::Inspect::computed<&Handle::value>(643, "value")};
};

template <class Table>
struct ClientRecord : Pivot::Inspect::Record<typename Table::ClientInstance, Pivot::Node> {
  using Client = typename Table::ClientInstance;
  static constexpr std::array attributes{
      Pivot::Inspect::operation<&Client::request, "key", "dependency">(130, "request"),
      Pivot::Inspect::operation<&Client::ackUpdate, "resPtr", "updateVersion", "dependency">(131,
                                                                                             "ackUpdate"),
      Pivot::Inspect::operation<&Client::release, "resPtr", "dependency">(132, "release")};
};

template <class Table>
struct TableRecord : Pivot::Inspect::Record<Table, ResourceTable> {
  static constexpr std::array attributes{
      Pivot::Inspect::operation<&Table::makeClientInstance>(642, "makeClientInstance"),
      Pivot::Inspect::operation<&Table::handle, "key">(643, "handle"),
      Pivot::Inspect::operation<&Table::usersOf, "key">(644, "usersOf")};
};

}  // namespace BursarResourceTable

#define BURSAR_DEFINE_TABLE_MODULE(Table, symbol)                                                        \
  PIVOT_DEFINE_MODULE(symbol, BursarResourceTable::HandleRecord<Table>,                                  \
                      BursarResourceTable::ClientRecord<Table>, BursarResourceTable::TableRecord<Table>) \
  PIVOT_DEFINE_TYPE_DATA(Table)
