#include "LoamTunnelNiLib/ResourceTables.h"

#include <fmt/format.h>

#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"
#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"
#include "LoamQos/QosProfileResourceTable.h"
#include "LoamTunnelNiLib/InLifDataResourceTable.h"
#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"
#include "LoamTunnelNiLib/LearnEnableResourceTable.h"
#include "Shoal/Mounted.h"

namespace LoamTunnelNiLib {
namespace {

using BursarResourceTable::ResourceTable;

// What a table is made of.
struct Making {
  BursarResourceTable::Surroundings& surroundings;
  VexSharedMem::EntityManager* store;
};

template <class Table>
Pivot::Status mount(Making const& making, Pivot::String const& path,
                    Pivot::Ptr<typename Table::Store>& store) {
  using Store = typename Table::Store;
  Pivot::Status status = Pivot::Status::ok();
  store = VexSharedMem::mounted<Store>(*making.store, path, Store::kTypeName, Store::kAttribute,
                                       Table::kMaxKeys, status);
  return status;
}

template <class Table>
Pivot::Status makeTable(Making const& making, Pivot::String const& tableNamespace,
                        Pivot::String const& tableName, Pivot::Ptr<ResourceTable>& made) {
  Pivot::Ptr<typename Table::Store> store;
  if (making.store != nullptr) {
    Pivot::String const path = fmt::format("bursar/{}/{}", tableNamespace, tableName);
    if (Pivot::Status mounted = mount<Table>(making, path, store); !mounted) return mounted;
  }
  auto name = Pivot::make<Asic::CanonicalTableName>(Asic::OrderedTableType::resourceTable, Pivot::String(),
                                                    tableNamespace, tableName);
  made = Pivot::make<Table>(std::move(name), making.surroundings, std::move(store));
  return Pivot::Status::ok();
}

struct Row {
  char const* tableNamespace;
  char const* tableName;
  Pivot::Status (*make)(Making const&, Pivot::String const&, Pivot::String const&,
                        Pivot::Ptr<ResourceTable>&);
};

constexpr Row kRows[] = {
    {"LoamTunnelNiLib", "InLifData.clientLoamInLif", &makeTable<InLifDataResourceTable>},
    {"LoamCountersLib", "CrpsIndexRequest.Srv6Endpoint",
     &makeTable<LoamCountersLib::CrpsIndexRequestResourceTable>},
    {"LoamCountersLib", "CrpsIndexRequest.L2SubInterfaceIngress",
     &makeTable<LoamCountersLib::CrpsIndexRequestResourceTable>},
    {"LoamCountersLib", "CrpsIndexRequest.SubInterfaceIngress",
     &makeTable<LoamCountersLib::CrpsIndexRequestResourceTable>},
    {"LoamTunnelNiLib", "LearnEnable.clientLoamInLif", &makeTable<LearnEnableResourceTable>},
    {"LoamTunnelNiLib", "IveResourceTable.featureLoamInLif", &makeTable<IveResourceTableResourceTable>},
    {"LoamQos", "QosProfile.LoamInLif", &makeTable<LoamQos::QosProfileResourceTable>},
    {"LoamAdjLib", "L2AdjToFecResourceTable.LoamInLif",
     &makeTable<LoamAdjLib::L2AdjToFecResourceTableResourceTable>},
};

}  // namespace

Pivot::Status ResourceTables::make(Asic::OrderedTableInterface& orderedTables,
                                   BursarResourceTable::Surroundings& surroundings,
                                   Pivot::Ptr<VexSharedMem::EntityManager> const& store) {
  Making const making{surroundings, store.get()};
  std::vector<Pivot::Ptr<ResourceTable>> tables;
  for (Row const& row : kRows) {
    Pivot::Ptr<ResourceTable> table;
    if (Pivot::Status made = row.make(making, row.tableNamespace, row.tableName, table); !made) return made;
    tables.push_back(std::move(table));
  }
  for (Pivot::Ptr<ResourceTable> const& table : tables) orderedTables.resourceTableIs(table);
  tables_ = std::move(tables);
  return Pivot::Status::ok();
}

bool ResourceTables::turn() {
  bool more = false;
  for (Pivot::Ptr<ResourceTable> const& table : tables_) more |= table->turn();
  return more;
}

}  // namespace LoamTunnelNiLib
