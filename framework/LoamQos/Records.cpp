// The modules of the key of QoS profiles and of their resource table.
#include "LoamQos/Records.h"

#include "Pivot/ModuleTables.h"
#include "Wirekit/Records.h"

namespace {

using namespace LoamQos;
using namespace Pivot::Inspect;

struct KeyRecord : Record<QosProfileEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(QosProfileEntryKey, 130, intfId)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_QosProfileEntryKey_3e518ca6409df7b2_vexModule, KeyRecord)
BURSAR_DEFINE_TABLE_MODULE(LoamQos::QosProfileResourceTable,
                           _QosProfileResourceTable_2b7fd9046ac815e3_vexModule)
