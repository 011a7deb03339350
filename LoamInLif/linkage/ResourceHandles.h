// The ten resource handles that an entry under way holds, one field per kind in linkage order, null while the
// entry needs no such resource or has not asked for it. An entry wrapper contains one of these; only the
// linkages write the fields, through the member pointers of Kinds.h. Dropping a handle here is no release
// towards its resource table.
#pragma once

#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"
#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"
#include "LoamQos/QosProfileResourceTable.h"
#include "LoamTunnelNiLib/InLifDataResourceTable.h"
#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"
#include "LoamTunnelNiLib/LearnEnableResourceTable.h"
#include "Pivot/Node.h"

namespace LoamInLif {

// How a handle field holds the resource handle of a resource table.
template <class ResourceTable>
using ResourceHandlePtr = Pivot::Ptr<typename ResourceTable::ResourceHandle const>;

struct ResourceHandles {
  ResourceHandlePtr<LoamTunnelNiLib::InLifDataResourceTable> inLifDataKeyResPtr;
  ResourceHandlePtr<LoamTunnelNiLib::InLifDataResourceTable> inLifDataVlanKeyResPtr;
  ResourceHandlePtr<LoamCountersLib::CrpsIndexRequestResourceTable> srv6EndpointCounterRequestKeyResPtr;
  ResourceHandlePtr<LoamCountersLib::CrpsIndexRequestResourceTable> l2CounterRequestKeyResPtr;
  ResourceHandlePtr<LoamCountersLib::CrpsIndexRequestResourceTable> l3CounterRequestKeyResPtr;
  ResourceHandlePtr<LoamTunnelNiLib::LearnEnableResourceTable> learnEnableKeyResPtr;
  ResourceHandlePtr<LoamTunnelNiLib::LearnEnableResourceTable> learnEnableVlanKeyResPtr;
  ResourceHandlePtr<LoamTunnelNiLib::IveResourceTableResourceTable> vlanEditProfileKeyResPtr;
  ResourceHandlePtr<LoamQos::QosProfileResourceTable> qosProfileKeyResPtr;
  ResourceHandlePtr<LoamAdjLib::L2AdjToFecResourceTableResourceTable> l2AdjIdResPtr;
};
static_assert(sizeof(ResourceHandles) == 10 * sizeof(void*), "ten handles and nothing beside them");

}  // namespace LoamInLif
