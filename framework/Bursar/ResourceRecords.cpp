// The module of the bases of resource handles and tables.
#include "Bursar/ResourceRecords.h"

#include "Pivot/ModuleTables.h"

namespace {

using namespace BursarResourceTable;
using namespace Pivot::Inspect;

// 517, under which a handle publishes, is its updateVersion, which rises with every change.
struct ResourceHandleRecord : Record<ResourceHandle, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&ResourceHandle::entryState>(514, "entryState"),
      stored<&ResourceHandle::neededEntry>(515, "neededEntry"),
      stored<&ResourceHandle::rawValue>(516, "rawValue"),
      stored<&ResourceHandle::updateVersion>(ResourceHandle::kFieldChange, "updateVersion"),
      computed<&ResourceHandle::isPostReleaseProtoState>(518, "isPostReleaseProtoState"),
      stored<&ResourceHandle::ackedVersion>(519, "ackedVersion"),
      computed<&ResourceHandle::ackedBy>(520, "ackedBy")};
};

struct ResourceTableRecord : Record<ResourceTable, Asic::NamedSwTable> {
  static constexpr std::array attributes{
      computed<&ResourceTable::entrys>(514, "entrys"), stored<&ResourceTable::handedOut>(515, "handedOut"),
      stored<&ResourceTable::freeing>(516, "freeing"), stored<&ResourceTable::capacity>(517, "capacity"),
      operation<&ResourceTable::endSweep>(518, "endSweep")};
};

}  // namespace

PIVOT_DEFINE_MODULE(_ResourceTable_8c15d3f7a20e6b94_vexModule, ResourceHandleRecord, ResourceTableRecord)
