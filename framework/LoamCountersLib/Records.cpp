// The modules of the key of counter indices and of their resource table.
#include "LoamCountersLib/Records.h"

#include "Pivot/ModuleTables.h"
#include "Wirekit/Records.h"

namespace {

using namespace LoamCountersLib;
using namespace Pivot::Inspect;

struct KeyRecord : Record<CrpsIndexRequestEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(CrpsIndexRequestEntryKey, 130, objectId),
                                         PIVOT_FIELD(CrpsIndexRequestEntryKey, 131, moduleId),
                                         PIVOT_FIELD(CrpsIndexRequestEntryKey, 132, engineId),
                                         PIVOT_FIELD(CrpsIndexRequestEntryKey, 133, direction)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_CrpsIndexRequestEntryKey_07c3fb59e1862d4a_vexModule, KeyRecord)
BURSAR_DEFINE_TABLE_MODULE(LoamCountersLib::CrpsIndexRequestResourceTable,
                           _CrpsIndexRequestResourceTable_a4d2681e95bf3c70_vexModule)
