// The modules of the key of counter indices and of their resource table.
#include "LoamCountersLib/Records.h"

#include "Pivot/ModuleTables.h"
#include "Wirekit/Records.h"

namespace {

using namespace LoamCountersLib;
using namespace Pivot::Inspect;

struct KeyRecord : Record<CrpsIndexRequestEntryKey> {
  static constexpr std::array attributes{
      stored<&CrpsIndexRequestEntryKey::objectId>(130, "objectId",
                                                  offsetof(CrpsIndexRequestEntryKey, objectId)),
      stored<&CrpsIndexRequestEntryKey::moduleId>(131, "moduleId",
                                                  offsetof(CrpsIndexRequestEntryKey, moduleId)),
      stored<&CrpsIndexRequestEntryKey::engineId>(132, "engineId",
                                                  offsetof(CrpsIndexRequestEntryKey, engineId)),
      stored<&CrpsIndexRequestEntryKey::direction>(133, "direction",
                                                   offsetof(CrpsIndexRequestEntryKey, direction))};
};

}  // namespace

PIVOT_DEFINE_MODULE(_CrpsIndexRequestEntryKey_07c3fb59e1862d4a_vexModule, KeyRecord)
BURSAR_DEFINE_TABLE_MODULE(LoamCountersLib::CrpsIndexRequestResourceTable,
                           _CrpsIndexRequestResourceTable_a4d2681e95bf3c70_vexModule)
