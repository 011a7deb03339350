#include "LoamCountersLib/CrpsIndexRequestResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamCountersLib/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamCountersLib::CrpsIndexRequestTraits>;

namespace LoamCountersLib {

CrpsIndexRequestResourceTable::~CrpsIndexRequestResourceTable() = default;

}  // namespace LoamCountersLib
