#include "LoamQos/QosProfileResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"

template class BursarResourceTable::ResourceTableOf<LoamQos::QosProfileTraits>;

namespace LoamQos {

QosProfileResourceTable::~QosProfileResourceTable() = default;

}  // namespace LoamQos
