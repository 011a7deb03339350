// The eight resource tables that entries of the InLif tables draw on, made and looked after together. The
// agent makes them before the first table of the family and gives them turns; the end of the
// sweep reaches them through the front door of the framework. On the agent's one thread.
//
//   canonical name, behind "ResourceTable."                   class
//   LoamTunnelNiLib::InLifData.clientLoamInLif                InLifDataResourceTable
//   LoamCountersLib::CrpsIndexRequest.Srv6Endpoint            CrpsIndexRequestResourceTable
//   LoamCountersLib::CrpsIndexRequest.L2SubInterfaceIngress   CrpsIndexRequestResourceTable
//   LoamCountersLib::CrpsIndexRequest.SubInterfaceIngress     CrpsIndexRequestResourceTable
//   LoamTunnelNiLib::LearnEnable.clientLoamInLif              LearnEnableResourceTable
//   LoamTunnelNiLib::IveResourceTable.featureLoamInLif        IveResourceTableResourceTable
//   LoamQos::QosProfile.LoamInLif                             QosProfileResourceTable
//   LoamAdjLib::L2AdjToFecResourceTable.LoamInLif             L2AdjToFecResourceTableResourceTable
#pragma once

#include <vector>

#include "Asic/OrderedTableInterface.h"
#include "Bursar/ResourceTable.h"
#include "Bursar/Surroundings.h"
#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Shoal/EntityManager.h"

namespace LoamTunnelNiLib {

class LOAM_FRAMEWORK_EXPORT ResourceTables {
 public:
  // Mounts a collection for each table in the store, makes the tables with what an earlier life handed out,
  // and registers them with orderedTables. A null store makes tables that remember nothing. Refused with the
  // store's reason; nothing is registered then. REQUIRES: surroundings outlive the tables. Once.
  Pivot::Status make(Asic::OrderedTableInterface& orderedTables,
                     BursarResourceTable::Surroundings& surroundings,
                     Pivot::Ptr<VexSharedMem::EntityManager> const& store);

  // One turn of the agent's loop. Returns whether there is more to do at once.
  bool turn();

  std::vector<Pivot::Ptr<BursarResourceTable::ResourceTable>> const& tables() const { return tables_; }

 private:
  std::vector<Pivot::Ptr<BursarResourceTable::ResourceTable>> tables_;
};

}  // namespace LoamTunnelNiLib
