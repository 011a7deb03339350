#include "LoamQos/QosProfileResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamQos/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamQos::QosProfileTraits>;

namespace LoamQos {

QosProfileResourceTable::~QosProfileResourceTable() = default;

}  // namespace LoamQos
