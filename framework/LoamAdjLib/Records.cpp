// The modules of the key of FECs of adjacencies and of their resource table.
#include "LoamAdjLib/Records.h"

#include "Pivot/ModuleTables.h"
#include "Wirekit/Records.h"

namespace {

using namespace LoamAdjLib;
using namespace Pivot::Inspect;

struct KeyRecord : Record<L2AdjToFecResourceTableEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(L2AdjToFecResourceTableEntryKey, 130, adjId)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_L2AdjToFecResourceTableEntryKey_2bf4617d8c3a0e95_vexModule, KeyRecord)
BURSAR_DEFINE_TABLE_MODULE(LoamAdjLib::L2AdjToFecResourceTableResourceTable,
                           _L2AdjToFecResourceTableResourceTable_59e0a3c8d7164fb2_vexModule)
